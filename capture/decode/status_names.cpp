#include "capture/decode/status_names.h"

#include <array>

namespace {

struct NamedStatus
{
    std::int32_t status;
    const char* name;
};

constexpr std::array<NamedStatus, 20> kStatuses{{
    {-2, "ENOENT"},       {-5, "EIO"},         {-11, "EAGAIN"},     {-12, "ENOMEM"},       {-16, "EBUSY"},
    {-18, "EXDEV"},       {-19, "ENODEV"},     {-22, "EINVAL"},     {-32, "EPIPE"},        {-62, "ETIME"},
    {-63, "ENOSR"},       {-70, "ECOMM"},      {-71, "EPROTO"},     {-75, "EOVERFLOW"},    {-84, "EILSEQ"},
    {-104, "ECONNRESET"}, {-108, "ESHUTDOWN"}, {-110, "ETIMEDOUT"}, {-115, "EINPROGRESS"}, {-121, "EREMOTEIO"},
}};

} // namespace

QString transferStatusText(std::int32_t status)
{
    for (const NamedStatus& entry : kStatuses) {
        if (entry.status == status)
            return QStringLiteral("%1 %2").arg(status).arg(QLatin1String(entry.name));
    }
    return QString::number(status);
}

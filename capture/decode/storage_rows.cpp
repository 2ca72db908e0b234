#include "capture/decode/storage_rows.h"

#include "capture/decode/field_rows.h"
#include "capture/decode/hex_text.h"

namespace {

using enum FieldForm;

constexpr NamedNumber kOperations[] = {
    {0x00, "TEST UNIT READY"},
    {0x03, "REQUEST SENSE"},
    {0x04, "FORMAT UNIT"},
    {0x08, "READ (6)"},
    {0x0A, "WRITE (6)"},
    {0x12, "INQUIRY"},
    {0x15, "MODE SELECT (6)"},
    {0x1A, "MODE SENSE (6)"},
    {0x1B, "START STOP UNIT"},
    {0x1D, "SEND DIAGNOSTIC"},
    {0x1E, "PREVENT ALLOW MEDIUM REMOVAL"},
    {0x23, "READ FORMAT CAPACITIES"},
    {0x25, "READ CAPACITY (10)"},
    {0x28, "READ (10)"},
    {0x2A, "WRITE (10)"},
    {0x2E, "WRITE AND VERIFY (10)"},
    {0x2F, "VERIFY (10)"},
    {0x35, "SYNCHRONIZE CACHE (10)"},
    {0x37, "READ DEFECT DATA (10)"},
    {0x3B, "WRITE BUFFER"},
    {0x3C, "READ BUFFER"},
    {0x41, "WRITE SAME (10)"},
    {0x42, "UNMAP"},
    {0x43, "READ TOC"},
    {0x4A, "GET EVENT STATUS NOTIFICATION"},
    {0x55, "MODE SELECT (10)"},
    {0x5A, "MODE SENSE (10)"},
    {0x83, "EXTENDED COPY"},
    {0x85, "ATA PASS-THROUGH (16)"},
    {0x88, "READ (16)"},
    {0x8A, "WRITE (16)"},
    {0x8F, "VERIFY (16)"},
    {0x91, "SYNCHRONIZE CACHE (16)"},
    {0x93, "WRITE SAME (16)"},
    {0x9E, "SERVICE ACTION IN (16)"},
    {0xA0, "REPORT LUNS"},
    {0xA1, "ATA PASS-THROUGH (12)"},
    {0xA3, "MAINTENANCE IN"},
    {0xA8, "READ (12)"},
    {0xAA, "WRITE (12)"},
};

constexpr NamedNumber kWrapperStatuses[] = {{0, "passed"}, {1, "failed"}, {2, "phase error"}};
constexpr NamedNumber kScsiStatuses[] = {
    {0x00, "GOOD"},       {0x02, "CHECK CONDITION"},      {0x04, "CONDITION MET"},
    {0x08, "BUSY"},       {0x18, "RESERVATION CONFLICT"}, {0x28, "TASK SET FULL"},
    {0x30, "ACA ACTIVE"}, {0x40, "TASK ABORTED"},
};
constexpr NamedNumber kResponses[] = {
    {0x00, "TASK MANAGEMENT FUNCTION COMPLETE"},
    {0x02, "INVALID INFORMATION UNIT"},
    {0x04, "TASK MANAGEMENT FUNCTION NOT SUPPORTED"},
    {0x05, "TASK MANAGEMENT FUNCTION FAILED"},
    {0x08, "TASK MANAGEMENT FUNCTION SUCCEEDED"},
    {0x09, "INCORRECT LOGICAL UNIT NUMBER"},
    {0x0A, "OVERLAPPED TAG ATTEMPTED"},
};
constexpr NamedNumber kFunctions[] = {
    {0x01, "ABORT TASK"},      {0x02, "ABORT TASK SET"}, {0x04, "CLEAR TASK SET"}, {0x08, "LOGICAL UNIT RESET"},
    {0x10, "I_T NEXUS RESET"}, {0x40, "CLEAR ACA"},      {0x80, "QUERY TASK"},     {0x81, "QUERY TASK SET"},
};

constexpr Field kWrapper[] = {
    {"dCSWSignature", 4, Hex},
    {"dCSWTag", 4, Hex},
    {"dCSWDataResidue", 4},
    {"bCSWStatus", 1, Decimal, nameIn<kWrapperStatuses>},
};
constexpr Field kUnitHead[] = {{"IU ID", 1, Hex}, {"Reserved", 1}, {"Tag", 2, BigDecimal}};
constexpr Field kCommand[] = {
    {"Command Priority, Task Attribute", 1, Hex},
    {"Reserved", 1},
    {"Additional CDB Length", 1, Hex},
    {"Reserved", 1},
    {"Logical Unit Number", 8, Bytes},
    {"Operation", 1, Hex, nameIn<kOperations>},
};
constexpr Field kSense[] = {
    {"Status Qualifier", 2, BigDecimal},
    {"Status", 1, Hex, nameIn<kScsiStatuses>},
    {"Reserved", 7, Bytes},
    {"Sense Length", 2, BigDecimal},
};
constexpr Field kResponse[] = {
    {"Additional Response Information", 3, Bytes},
    {"Response Code", 1, Hex, nameIn<kResponses>},
};
constexpr Field kTask[] = {
    {"Task Management Function", 1, Hex, nameIn<kFunctions>},
    {"Reserved", 1},
    {"Tag of Task", 2, BigDecimal},
    {"Logical Unit Number", 8, Bytes},
};

struct Unit
{
    std::uint8_t id;
    std::uint8_t pipe; // that carries it: 1 command, 2 status
    const char* name;
    std::span<const Field> fields;
    const char* rest; // name of what follows
    NameOf nameOf;    // of what sums it up
    int place;        // of that
};

constexpr Unit kUnits[] = {
    {0x01, 1, "Command", kCommand, "Command Parameters", nameIn<kOperations>, 16},
    {0x03, 2, "Sense", kSense, "Sense Data", nameIn<kScsiStatuses>, 6},
    {0x04, 2, "Response", kResponse, "Data", nameIn<kResponses>, 7},
    {0x05, 1, "Task Management", kTask, "Data", nameIn<kFunctions>, 4},
    {0x06, 2, "Read Ready", {}, "Data", nullptr, 0},
    {0x07, 2, "Write Ready", {}, "Data", nullptr, 0},
};

constexpr int kUnitHeadSize = 4; // bytes

} // namespace

QString scsiName(std::uint8_t operation)
{
    const char* name = nameIn<kOperations>(operation);
    return name ? QString(QLatin1String(name)) : QStringLiteral("operation %1").arg(hexNumber(operation, 2));
}

QString addBulkOnlyStatus(const QByteArray& data, DetailRow& parent)
{
    constexpr int kSize = 13; // bytes
    if (data.size() != kSize || !data.startsWith("USBS"))
        return {};
    DetailRow& group = parent.add(QStringLiteral("BOT Status"), {}, {ByteSpan::Part::Data, 0, kSize});
    FieldRows(data, ByteSpan::Part::Data, 0, kSize).add(group, kWrapper);
    const char* name = nameIn<kWrapperStatuses>(static_cast<std::uint8_t>(data.at(kSize - 1)));
    return QStringLiteral("BOT Status: %1").arg(QLatin1String(name ? name : "unknown"));
}

QString addInformationUnit(const QByteArray& data, std::uint8_t pipe, DetailRow& parent)
{
    const std::uint8_t id = data.isEmpty() ? std::uint8_t(0) : static_cast<std::uint8_t>(data.at(0));
    const auto* unit = std::find_if(std::begin(kUnits), std::end(kUnits), [&](const Unit& candidate) {
        return candidate.id == id && candidate.pipe == pipe;
    });
    if (data.size() < kUnitHeadSize || unit == std::end(kUnits))
        return {};
    const QString title = QStringLiteral("UAS %1 IU").arg(QLatin1String(unit->name));
    DetailRow& group = parent.add(title, {}, {ByteSpan::Part::Data, 0, data.size()});
    FieldRows rows(data, ByteSpan::Part::Data, 0, data.size());
    rows.add(group, kUnitHead);
    rows.add(group, unit->fields);
    rows.addRest(group, unit->rest);
    if (!unit->nameOf || data.size() <= unit->place)
        return title;
    const auto code = static_cast<std::uint8_t>(data.at(unit->place));
    const char* name = unit->nameOf(code);
    return QStringLiteral("%1: %2").arg(title, name ? QString(QLatin1String(name)) : hexNumber(code, 2));
}

#include "emulation/channels/record_keeper.h"

#include "devices/device_launcher.h"
#include "runtime/whole_file.h"

#include <QFile>
#include <QLoggingCategory>

namespace {

DeviceRecord recordOf(const DeviceContext& context)
{
    const DeviceDescription& device = context.device;
    DeviceRecord record;
    record.deviceType = int(device.type);
    record.deviceName = device.name;
    record.processId = context.processId;
    record.usbVid = device.vid;
    record.usbPid = device.pid;
    record.usbVersion = device.usbVersion;
    record.publicParams = device.parameters;
    record.createTime = QDateTime::currentDateTime();
    record.lab = qEnvironmentVariable(kLabVariable);
    record.isRunning = true;
    return record;
}

} // namespace

RecordKeeper::RecordKeeper(const DeviceContext& context, std::chrono::milliseconds interval)
    : m_record(recordOf(context))
{
    m_path = context.folder + QLatin1Char('/') + deviceRecordFileName(m_record);
    m_updates.setInterval(interval);
    QObject::connect(&m_updates, &QTimer::timeout, &m_updates, [this] {
        const QString fault = writeRecord();
        if (!fault.isEmpty())
            qWarning().noquote() << fault;
    });
}

RecordKeeper::~RecordKeeper()
{
    if (m_written && !QFile::remove(m_path))
        qWarning().noquote() << QStringLiteral("The device record \"%1\" cannot be removed.").arg(m_path);
}

QString RecordKeeper::start()
{
    if (!canBeFileName(m_record.deviceName))
        return QStringLiteral("The device name \"%1\" cannot be part of a file name.").arg(m_record.deviceName);
    const QString fault = writeRecord();
    if (fault.isEmpty())
        m_updates.start();
    return fault;
}

void RecordKeeper::setHost(const QJsonObject& host)
{
    m_record.host = host;
    if (!m_written)
        return;
    const QString fault = writeRecord();
    if (!fault.isEmpty())
        qWarning().noquote() << fault;
}

QString RecordKeeper::writeRecord()
{
    m_record.lastUpdateTime = QDateTime::currentDateTime();
    const QString reason = writeWholeFile(m_path, serializeDeviceRecord(m_record));
    if (!reason.isEmpty())
        return QStringLiteral("The device record \"%1\" cannot be written: %2.").arg(m_path, reason);
    m_written = true;
    return {};
}

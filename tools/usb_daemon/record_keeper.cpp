#include "tools/usb_daemon/record_keeper.h"

#include <QFile>
#include <QLoggingCategory>
#include <QSaveFile>

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

QString RecordKeeper::writeRecord()
{
    m_record.lastUpdateTime = QDateTime::currentDateTime();
    QSaveFile file(m_path);
    const QByteArray json = serializeDeviceRecord(m_record);
    if (!file.open(QIODevice::WriteOnly) || file.write(json) != json.size() || !file.commit())
        return QStringLiteral("The device record \"%1\" cannot be written: %2.").arg(m_path, file.errorString());
    m_written = true;
    return {};
}

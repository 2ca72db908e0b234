#include "emulation/storage/disk.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QUuid>

#include <algorithm>
#include <filesystem>

namespace storage {

namespace {

constexpr std::uint8_t kMassStorageClass = 8;
constexpr std::uint8_t kScsiSubClass = 6;
constexpr std::uint8_t kBulkOnlyProtocol = 0x50;
constexpr std::uint8_t kInEndpoint = 0x81;
constexpr std::uint8_t kOutEndpoint = 0x02;
constexpr std::uint8_t kLargestBurst = 15; ///< packets, less one
constexpr std::uint16_t kMaxPower = 200;   ///< mA, which every speed can say
constexpr std::uint16_t kSuperSpeedVersion = 0x0300;

// Requests (Bulk-Only Transport 1.0, section 3).
constexpr std::uint8_t kGetMaxUnit = 0xFE;
constexpr std::uint8_t kReset = 0xFF;

usb::Endpoint bulkEndpoint(std::uint8_t address, usb::Speed speed)
{
    usb::Endpoint endpoint;
    endpoint.bEndpointAddress = address;
    endpoint.type = usb::TransferType::Bulk;
    endpoint.maxPacketSize = speed == usb::Speed::Super ? 1024 : 512;
    if (speed == usb::Speed::Super)
        endpoint.companion = usb::EndpointCompanion{kLargestBurst, 0, 0};
    return endpoint;
}

usb::DeviceDescriptors describe(usb::DeviceDescriptors identity)
{
    identity.speed = identity.bcdUSB >= kSuperSpeedVersion ? usb::Speed::Super : usb::Speed::High;
    usb::AlternateSetting setting;
    setting.bInterfaceClass = kMassStorageClass;
    setting.bInterfaceSubClass = kScsiSubClass;
    setting.bInterfaceProtocol = kBulkOnlyProtocol;
    setting.endpoints = {bulkEndpoint(kInEndpoint, identity.speed), bulkEndpoint(kOutEndpoint, identity.speed)};
    identity.configuration = {};
    identity.configuration.maxPower = kMaxPower;
    identity.configuration.interfaces = {{0, {setting}}};
    return identity;
}

/// The transport asks for at least 12 hexadecimal capitals, no two devices with the same.
QString newSerialNumber()
{
    return QStringLiteral("%1").arg(QRandomGenerator::system()->generate64() >> 16, 12, 16, QLatin1Char('0')).toUpper();
}

/// Letters that SCSI does not know become question marks.
QByteArray asciiOf(QString text)
{
    std::replace_if(
        text.begin(), text.end(), [](QChar letter) { return letter < QLatin1Char(' ') || letter > QLatin1Char('~'); },
        QLatin1Char('?'));
    return text.toLatin1();
}

UnitIdentity unitIdentity(const usb::DeviceDescriptors& descriptors)
{
    return {asciiOf(descriptors.manufacturer), asciiOf(descriptors.product), "0100", asciiOf(descriptors.serialNumber)};
}

QString sizeText(const Medium& medium)
{
    const qint64 bytes = medium.byteCount();
    return bytes % (1 << 20) == 0 ? QStringLiteral("%1 MiB").arg(bytes >> 20) : QStringLiteral("%1 bytes").arg(bytes);
}

QString nameOf(const Medium& medium)
{
    return medium.path().isEmpty() ? QStringLiteral("its own disk") : medium.path();
}

/// Puts the finished copy in the place of what has its name.
QString moveIntoPlace(const QString& from, const QString& to)
{
    std::error_code error;
    std::filesystem::rename(from.toStdU16String(), to.toStdU16String(), error);
    return error ? QStringLiteral("%1 cannot be written: %2.").arg(to, QString::fromStdString(error.message()))
                 : QString();
}

} // namespace

Outcome<std::unique_ptr<Disk>> Disk::make(usb::DeviceDescriptors identity, int mebibytes)
{
    Fat32Identity volume;
    volume.volumeId = QRandomGenerator::system()->generate();
    volume.made = QDateTime::currentDateTime();
    const auto medium = Medium::makeFat32(mebibytes, volume);
    if (!medium)
        return Fault{medium.fault()};
    identity.serialNumber = newSerialNumber();
    return std::make_unique<Disk>(std::move(identity), medium.value());
}

Disk::Disk(usb::DeviceDescriptors identity, Medium::Pointer medium)
    : m_descriptors(describe(std::move(identity)))
    , m_own(std::move(medium))
    , m_unit(unitIdentity(m_descriptors), m_own,
             [this](const Medium::Pointer& flushed, const LogicalUnit::Flushed& done) {
                 runAside([flushed] { return flushed->flush() ? QString() : QStringLiteral("not flushed"); },
                          [done](const QString& fault) { done(fault.isEmpty()); });
             })
    , m_transport(m_unit, m_descriptors.speed == usb::Speed::Super ? 1024 : 512)
{
    m_threads.setMaxThreadCount(2); // a copy must not hold up a host that waits for its bytes to be on the disk
}

Disk::~Disk()
{
    if (m_copy)
        m_copy->giveUp();
    m_threads.waitForDone();
}

void Disk::controlRequest(const usb::TransferPointer& transfer)
{
    const usb::SetupPacket& setup = transfer->request().setup;
    const bool isOurs = setup.type() == usb::RequestType::Class && setup.recipient() == usb::Recipient::Interface &&
                        setup.wIndex == 0 && setup.wValue == 0;
    if (isOurs && setup.isIn() && setup.bRequest == kGetMaxUnit && setup.wLength == 1)
        return transfer->completeIn(QByteArray(1, '\0'));
    if (!isOurs || setup.isIn() || setup.bRequest != kReset || setup.wLength != 0)
        return transfer->complete(usb::Status::Stall);
    m_transport.reset();
    transfer->complete();
}

void Disk::configurationSelected(std::uint8_t)
{
    m_transport.powerOn();
}

void Disk::haltCleared(std::uint8_t endpointAddress)
{
    if (endpointAddress == kInEndpoint)
        m_transport.inHaltCleared();
}

void Disk::reset()
{
    m_unit.powerOn();
    m_transport.powerOn();
}

QString Disk::run(const QString& command)
{
    const QString verb = command.section(QLatin1Char(' '), 0, 0);
    const QString rest = command.mid(verb.size()).trimmed();
    if (verb == QLatin1String("eject"))
        return eject(rest);
    if (verb == QLatin1String("insert"))
        return insert(rest);
    return commandFailed(QStringLiteral("A disk knows: eject [force], insert [FILE], save FILE, status."));
}

void Disk::carryOut(const QString& command, const Answer& answer)
{
    if (command.section(QLatin1Char(' '), 0, 0) == QLatin1String("save"))
        save(command.mid(4).trimmed(), answer);
    else
        answer(run(command));
}

QString Disk::eject(const QString& how)
{
    const bool force = how == QLatin1String("force");
    if (!force && !how.isEmpty())
        return commandFailed(QStringLiteral("eject takes nothing, or force."));
    if (m_unit.isEjected())
        return commandFailed(QStringLiteral("There is no disk in the drive."));
    if (m_unit.isLocked() && !force)
        return commandFailed(QStringLiteral("The host uses the disk; unmount it there, or eject force."));
    m_unit.eject();
    return commandDone(QStringLiteral("ejected ") + nameOf(*m_unit.medium()));
}

QString Disk::insert(const QString& file)
{
    if (!m_unit.isEjected())
        return commandFailed(QStringLiteral("There is a disk in the drive; eject it first."));
    if (!file.isEmpty() && QDir::isRelativePath(file))
        return commandFailed(QStringLiteral("%1 is not a whole path.").arg(file));
    const auto medium = file.isEmpty() ? Outcome<Medium::Pointer>(m_own) : Medium::fromFile(file);
    if (!medium)
        return commandFailed(medium.fault());
    m_unit.insert(medium.value());
    return commandDone(QStringLiteral("inserted %1, %2%3")
                           .arg(nameOf(*medium.value()), sizeText(*medium.value()),
                                medium.value()->isReadOnly() ? QStringLiteral(", write-protected") : QString()));
}

void Disk::save(const QString& file, const Answer& answer)
{
    if (m_copy)
        return answer(commandFailed(QStringLiteral("A copy is being made already.")));
    if (file.isEmpty() || QDir::isRelativePath(file))
        return answer(commandFailed(QStringLiteral("save takes the whole path of a file.")));
    const QFileInfo target(file);
    if (target.isDir() || (target.exists() && target.canonicalFilePath() == m_unit.medium()->path()))
        return answer(commandFailed(
            QStringLiteral("%1 cannot be written: it is %2.")
                .arg(file, target.isDir() ? QStringLiteral("a folder") : QStringLiteral("the disk in the drive"))));
    const QString partial = file + QStringLiteral(".part-") + QUuid::createUuid().toString(QUuid::Id128).left(8);
    const auto image = ImageFile::create(partial);
    if (!image)
        return answer(commandFailed(image.fault()));
    m_copy = m_unit.medium()->beginCopy(image.value());
    runAside(
        [copy = m_copy, image = image.value(), partial, file] {
            QString fault = copy->run() && image->flush() ? moveIntoPlace(partial, file)
                                                          : QStringLiteral("%1 cannot be written whole.").arg(file);
            if (!fault.isEmpty())
                QFile::remove(partial);
            return fault;
        },
        [this, file, answer](const QString& fault) {
            m_copy.reset();
            answer(fault.isEmpty() ? commandDone(QStringLiteral("saved ") + file) : commandFailed(fault));
        });
}

void Disk::runAside(std::function<QString()> work, std::function<void(QString)> done)
{
    m_threads.start([this, work = std::move(work), done = std::move(done)] {
        const QString fault = work();
        QMetaObject::invokeMethod(
            &m_receiver, [done, fault] { done(fault); }, Qt::QueuedConnection);
    });
}

QString Disk::status() const
{
    const Medium& medium = *m_unit.medium();
    return QStringLiteral("%1 %2, %3%4%5%6; %7 blocks read, %8 written")
        .arg(m_unit.isEjected() ? QStringLiteral("ejected:") : QStringLiteral("inserted:"), nameOf(medium),
             sizeText(medium), medium.isReadOnly() ? QStringLiteral(", write-protected") : QString(),
             m_unit.isLocked() ? QStringLiteral(", in use by the host") : QString(),
             m_copy ? QStringLiteral(", being saved") : QString())
        .arg(m_unit.blocksRead())
        .arg(m_unit.blocksWritten());
}

} // namespace storage

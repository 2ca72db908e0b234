// disk_host.h: a host that sends SCSI commands by Bulk-Only Transport, with what becomes of them as text.
#pragma once

#include "emulation/storage/disk.h"
#include "tests/emulation/function_host.h"

#include <QTest>
#include <QtEndian>

class DiskHost
{
public:
    enum Way
    {
        Out,
        In
    };

    explicit DiskHost(storage::Disk& disk) : m_host(disk) { m_host.configure(); }

    /// A command whose power-on attention was told already.
    void settle() { run("00 00 00 00 00 00"); }

    static QByteArray wrapper(std::uint32_t tag, std::uint32_t length, Way way, const QByteArray& block, int unit = 0)
    {
        QByteArray bytes = "USBC" + QByteArray(27, '\0');
        qToLittleEndian(tag, bytes.data() + 4);
        qToLittleEndian(length, bytes.data() + 8);
        bytes[12] = way == In ? '\x80' : '\0';
        bytes[13] = char(unit);
        bytes[14] = char(block.size());
        bytes.replace(15, block.size(), block);
        return bytes;
    }

    /// One command with its data, in transfers of at most `piece` bytes, stalls cleared as they come. Returns the data
    /// in hexadecimal, "stall" where one came, and the status with the residue: "passed 0", "failed 512", "phase error
    /// 512"; what is not so the status of this command is named.
    QByteArray run(const QByteArray& blockHex, std::uint32_t length = 0, Way way = In, const QByteArray& data = {},
                   std::uint32_t piece = 1 << 20)
    {
        const std::uint32_t tag = ++m_tag * 0x01000193;
        m_host.out(kOut, wrapper(tag, length, way, QByteArray::fromHex(blockHex)));
        QStringList told = way == In ? readData(length, piece) : writeData(data, piece);
        return (told << status(tag)).join(QLatin1Char(' ')).toLatin1();
    }

    /// Key and code that REQUEST SENSE tells.
    QByteArray sense()
    {
        run("03 00 00 00 12 00", 18);
        return m_data.size() == 18 ? m_data.mid(2, 1).toHex() + ' ' + m_data.mid(12, 2).toHex() : "no sense data";
    }

    const QByteArray& data() const { return m_data; } ///< that the last command brought
    FunctionHost& transfers() { return m_host; }

    static constexpr std::uint8_t kIn = 0x81;
    static constexpr std::uint8_t kOut = 0x02;

private:
    QStringList readData(std::uint32_t length, std::uint32_t piece)
    {
        m_data.clear();
        while (std::uint32_t(m_data.size()) < length) {
            const std::uint32_t wanted = qMin(piece, length - std::uint32_t(m_data.size()));
            const std::uint32_t number = m_host.in(kIn, wanted);
            if (m_host.result(number) == QLatin1String("stall")) {
                m_host.clearHalt(kIn);
                return shown() << QStringLiteral("stall");
            }
            if (!m_host.isDone(number))
                return {QStringLiteral("no data")};
            m_data += m_host.data(number);
            if (std::uint32_t(m_host.data(number).size()) < wanted)
                break;
        }
        return shown();
    }

    QStringList shown() const { return m_data.isEmpty() ? QStringList() : QStringList(QLatin1String(m_data.toHex())); }

    QStringList writeData(const QByteArray& data, std::uint32_t piece)
    {
        for (int at = 0; at < data.size(); at += int(piece))
            if (!m_host.isDone(m_host.out(kOut, data.mid(at, int(piece)))))
                return {QStringLiteral("data not taken")};
        return {};
    }

    QString status(std::uint32_t tag)
    {
        const std::uint32_t number = m_host.in(kIn, 13);
        if (!QTest::qWaitFor([&] { return m_host.isDone(number); }))
            return QStringLiteral("no status");
        const QByteArray bytes = m_host.data(number);
        if (bytes.size() != 13 || !bytes.startsWith("USBS"))
            return QStringLiteral("no status but ") + m_host.result(number);
        if (qFromLittleEndian<quint32>(bytes.data() + 4) != tag)
            return QStringLiteral("status of another command");
        static constexpr const char* kNames[] = {"passed", "failed", "phase error"};
        return QStringLiteral("%1 %2")
            .arg(QLatin1String(bytes[12] >= 0 && bytes[12] < 3 ? kNames[int(bytes[12])] : "unknown status"))
            .arg(qFromLittleEndian<quint32>(bytes.data() + 8));
    }

    FunctionHost m_host;
    std::uint32_t m_tag = 0;
    QByteArray m_data;
};

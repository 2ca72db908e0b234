#include "capture/channel/packet_parser.h"
#include "capture/channel/protocol_line.h"
#include "capture/decode/packet_details.h"
#include "tests/support/suite_registry.h"

#include <QDir>
#include <QtTest>

namespace {

QString treeText(const DetailRow& row, int level)
{
    QString text;
    for (const DetailRow& child : row.children) {
        if (child.name == QLatin1String("Timestamp"))
            continue;
        text += QString(2 * level, QLatin1Char(' ')) + child.name.trimmed() +
                (child.value.isEmpty() ? QString() : QStringLiteral(": ") + child.value) + QLatin1Char('\n') +
                treeText(child, level + 1);
    }
    return text;
}

QByteArray bytesOf(const QString& text)
{
    QByteArray digits;
    for (const QString& line : text.split(QLatin1Char('\n')))
        digits += line.section(QLatin1Char('#'), 0, 0).toLatin1();
    return QByteArray::fromHex(digits);
}

QString describe(const QByteArray& payload)
{
    UsbIPPacketInfo packet;
    if (!parseCapturedPacket(payload, packet))
        return QStringLiteral("refused\n");
    packet.parsedDetails = protocolLine(packet);
    return packet.parsedDetails + QStringLiteral("\n=== tree\n") + treeText(packetDetails(packet), 0);
}

} // namespace

/// Every file of cases/ is a packet and the texts expected of it: lines of hexadecimal bytes, blank-separated, with
/// comments from '#' to the line's end, then "=== line", the one-line decoding, "=== tree" and the detail view, two
/// blanks more for each level. Times are left out: they depend on the zone. A payload that is no packet says "refused".
class DecoderCasesTest : public QObject
{
    Q_OBJECT

private slots:
    void decodes_data()
    {
        QTest::addColumn<QString>("path");
        const QDir folder(QStringLiteral(PLUGBOARD_TEST_DATA "/cases"));
        for (const QString& name : folder.entryList({QStringLiteral("*.txt")}, QDir::Files, QDir::Name))
            QTest::newRow(qPrintable(name.section(QLatin1Char('.'), 0, 0).replace(QLatin1Char('_'), QLatin1Char(' '))))
                << folder.filePath(name);
    }

    void decodes()
    {
        QFETCH(QString, path);
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly | QIODevice::Text));
        const QString text = QString::fromUtf8(file.readAll());
        const QString mark = QStringLiteral("=== line\n");
        const int split = text.indexOf(mark);
        QVERIFY(split > 0);
        const QString seen = describe(bytesOf(text.left(split)));
        if (qEnvironmentVariableIsSet("PLUGBOARD_SHOW_CASES"))
            qInfo().noquote() << path << '\n' << seen;
        QCOMPARE(seen, text.mid(split + mark.size()));
    }
};

PLUGBOARD_SUITE(DecoderCasesTest)
#include "decoder_cases_test.moc"

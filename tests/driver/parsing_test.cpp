#include "driver/display/problem_names.h"
#include "driver/filter_edit.h"
#include "driver/guid.h"
#include "driver/hardware_id_edit.h"
#include "driver/messages/message_text.h"
#include "driver/options.h"
#include "driver/platform/inf_file.h"
#include "driver/registry_data.h"
#include "driver/template_match.h"
#include "driver/text.h"
#include "tests/support/suite_registry.h"

#include <QtTest>

using namespace driver;

namespace {

/// Words of a row's text; "" stands for an empty one.
std::vector<std::wstring> words(const char* text)
{
    std::vector<std::wstring> result;
    const QStringList parts = QString::fromUtf8(text).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    for (const QString& word : parts)
        result.push_back(word == QLatin1String("\"\"") ? std::wstring() : word.toStdWString());
    return result;
}

QString joined(const std::vector<std::wstring>& list)
{
    QStringList words;
    for (const std::wstring& word : list)
        words << QString::fromStdWString(word);
    return words.join(QLatin1Char(' '));
}

RegistryData dataOf(std::uint32_t type, const char* hex)
{
    const QByteArray bytes = QByteArray::fromHex(hex);
    return {type, {bytes.begin(), bytes.end()}};
}

struct Row
{
    const char* name;
    const char* input;
    const char* operations;
    const char* expected;
};

void addRows(std::initializer_list<Row> rows)
{
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<QByteArray>("operations");
    QTest::addColumn<QString>("expected");
    for (const Row& row : rows)
        QTest::newRow(row.name) << QByteArray(row.input) << QByteArray(row.operations)
                                << QString::fromUtf8(row.expected);
}

} // namespace

class ParsingTest : public QObject
{
    Q_OBJECT

private slots:
    void matchesTemplates_data()
    {
        addRows({
            {"without a wildcard the whole string counts", "USB\\VID_1", "USB\\VID_12", "no"},
            {"letter case does not matter", "usb\\vid_1234", "USB\\VID_1234", "yes"},
            {"text before the star begins the subject", "VID*", "USB\\VID_1", "no"},
            {"a star at the end takes the rest", "USB\\VID_*", "usb\\vid_1234&pid_0001", "yes"},
            {"a star at the end takes nothing too", "USB*", "usb", "yes"},
            {"a subject shorter than the text before the star", "USBX*", "usb", "no"},
            {"a star alone takes an empty subject", "*", "", "yes"},
            {"the last segment ends the subject", "*01", "USB&PID_0001", "yes"},
            {"the last segment is not found before the end only", "*01", "USB&01&02", "no"},
            {"the last segment must not overlap what was used", "AB*BC", "ABC", "no"},
            {"the last segment may touch what was used", "AB*BC", "ABBC", "yes"},
            {"a middle segment is found after false starts", "*abc*", "ababcd", "yes"},
            {"a middle segment that is not there", "*abd*", "ababcd", "no"},
            {"a middle segment is taken at its first place", "*ab*b", "xabb", "yes"},
            {"segments keep their order", "*b*a*", "ab", "no"},
            {"two stars are one", "a**b", "ab", "yes"},
            {"a segment of no letter is compared exactly", "*_*", "a-b", "no"},
            {"a segment runs out of subject", "*abc*", "ab", "no"},
            {"an apostrophe makes a star a star", "'ROOT\\*", "root\\*", "yes"},
            {"an apostrophe takes no other text", "'ROOT\\*", "ROOT\\X", "no"},
            {"after an at sign an apostrophe counts too", "@'A*", "AX", "no"},
            {"after an apostrophe an at sign is text", "'@A", "@a", "yes"},
            {"only the first apostrophe goes", "''A", "'a", "yes"},
            {"letters beyond ASCII compare exactly", "Ä", "ä", "no"},
        });
    }

    void matchesTemplates()
    {
        QFETCH(QByteArray, input);
        QFETCH(QByteArray, operations);
        QFETCH(QString, expected);
        const DeviceTemplate pattern = parseTemplate(fromUtf8(input.toStdString()));
        QCOMPARE(pattern.instanceId, input.startsWith('@'));
        QCOMPARE(matches(pattern, fromUtf8(operations.toStdString())), expected == QLatin1String("yes"));
    }

    void scansOptions_data()
    {
        // machine, reboot, force, position of the command
        addRows({
            {"nothing but the program", "prog", "", "|0|0|1"},
            {"an empty vector has no command", "", "", "|0|0|1"},
            {"all options in either form and case", "prog -M:pc /R -f cmd", "", "pc|1|1|4"},
            {"the last machine counts", "prog -m:a /m:b cmd -r", "", "b|0|0|3"},
            {"a machine without a name is the command", "prog -r -m: -f", "", "|1|0|2"},
            {"a machine without a colon is the command", "prog -mx cmd", "", "|0|0|1"},
            {"a letter with more after it is the command", "prog -rf cmd", "", "|0|0|1"},
            {"an option sign alone is the command", "prog - -f", "", "|0|0|1"},
            {"an empty argument is the command", "prog \"\" -f", "", "|0|0|1"},
            {"options after the command are not options", "prog -f cmd -r", "", "|0|1|2"},
        });
    }

    void scansOptions()
    {
        QFETCH(QByteArray, input);
        QFETCH(QString, expected);
        const auto arguments = words(input);
        const Options options = scanOptions(arguments);
        QCOMPARE(QStringLiteral("%1|%2|%3|%4")
                     .arg(QString::fromStdWString(options.machine))
                     .arg(options.reboot)
                     .arg(options.force)
                     .arg(options.command),
                 expected);
    }

    void editsHardwareIds_data()
    {
        addRows({
            {"plain ids go to the end first", "a b", "c d", "a b c d"},
            {"plain ids follow the front insertion in order", "a b", "+x y z", "x y z a b"},
            {"a front insertion moves back to the front", "a", "+x +y z", "y z x a"},
            {"an end insertion moves to the end", "a", "+x -y z", "x a y z"},
            {"replacing empties first", "a b", "=c d", "c d"},
            {"deleting takes every equal entry, whatever its case", "A b a", "!a", "b"},
            {"deleting what is not there", "a", "!x", "a"},
            {"deleting leaves the position", "a b", "+x !a y", "x y b"},
            {"inserting moves an equal entry of other case", "ROOT\\X b", "-root\\x", "b root\\x"},
            {"a position beyond the end is the end", "a b", "+x y a b x", "y a b x"},
            {"everything deleted", "a", "!a", ""},
            {"an empty id after a prefix", "a", "b +", "usage"},
            {"an empty id alone", "a", "\"\"", "usage"},
        });
    }

    void editsHardwareIds()
    {
        QFETCH(QByteArray, input);
        QFETCH(QByteArray, operations);
        QFETCH(QString, expected);
        const auto arguments = words(operations);
        const auto parsed = parseIdOperations(arguments);
        QCOMPARE(parsed ? joined(editHardwareIds(words(input), *parsed)) : QStringLiteral("usage"), expected);
    }

    void editsFilters_data()
    {
        addRows({
            {"from the start, plus goes to the end", "a b", "+x +y", "a b x y|changed"},
            {"from the start, minus goes to the start", "a b", "-x -y", "y x a b|changed"},
            {"plus goes after the position", "a b", "@a +x", "a x b|changed"},
            {"minus goes before the position", "a b", "@b -x", "a x b|changed"},
            {"finding begins one past the position", "a b a", "@a @a +x", "a b a x|changed"},
            {"finding from the position finds no earlier one", "a b", "@b @a", "2"},
            {"the start is found again after =", "a b", "@b = @a", "a b|same"},
            {"= takes another operation with it", "a b", "@b =@a +x", "a x b|changed"},
            {"= and = and an operation", "a", "==!a", "|changed"},
            {"deleting twice in a row steps over nothing", "a a b", "!a !a", "b|changed"},
            {"after a deletion the next one is found in its place", "a b c", "!a @b -x", "x b c|changed"},
            {"an insertion takes the place of what was deleted", "a b c", "!b +x", "a x c|changed"},
            {"deleting the last and inserting", "a b", "!b +x", "a x|changed"},
            {"names ignore case", "Alpha", "!ALPHA", "|changed"},
            {"nothing found to delete", "a", "!x", "2"},
            {"a service that does not exist", "a", "+missing", "2"},
            {"an empty name", "a", "+", "3"},
            {"an empty operation", "a", "\"\"", "3"},
            {"an unknown first character", "a", "x", "3"},
            {"= and an unknown character", "a", "=x", "3"},
        });
    }

    void editsFilters()
    {
        QFETCH(QByteArray, input);
        QFETCH(QByteArray, operations);
        QFETCH(QString, expected);
        FilterEdit edit(words(input), [](const std::wstring& name) { return name != L"missing"; });
        for (const std::wstring& operation : words(operations))
            if (const ResultCode result = edit.apply(operation); result != kSuccess) {
                QCOMPARE(QString::number(result), expected);
                return;
            }
        QCOMPARE(joined(edit.filters()) + (edit.changed() ? QStringLiteral("|changed") : QStringLiteral("|same")),
                 expected);
    }

    void readsRegistryData_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QByteArray>("hex");
        QTest::addColumn<QString>("list");
        QTest::addColumn<QString>("text");
        const auto row = [](const char* name, int type, const char* hex, const char* list, const char* text) {
            QTest::newRow(name) << type << QByteArray(hex) << QString::fromUtf8(list) << QString::fromUtf8(text);
        };
        row("two strings and the end", 7, "61000000 620063000000 0000", "a bc", "a");
        row("no end at all", 7, "6100000062006300", "a bc", "a");
        row("no last NUL", 7, "610000006200630000", "a bc", "a");
        row("an odd byte at the end", 7, "6100000062", "a", "a");
        row("nothing", 7, "", "", "");
        row("one byte", 7, "61", "", "");
        row("an empty list", 7, "00000000", "", "");
        row("what follows the empty string", 7, "6100000000006200", "a", "a");
        row("a text is a list of one", 1, "61000000", "a", "a");
        row("a number is no text", 4, "61000000", "", "");
        row("a pair of surrogates", 1, "3dd800de0000", "\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80");
    }

    void readsRegistryData()
    {
        QFETCH(int, type);
        QFETCH(QByteArray, hex);
        const RegistryData data = dataOf(static_cast<std::uint32_t>(type), hex);
        QTEST(joined(decodeTextList(data)), "list");
        QTEST(QString::fromStdWString(decodeText(data)), "text");
    }

    void writesRegistryData()
    {
        QCOMPARE(encodeTextList({L"a", L"bc"}).bytes, dataOf(7, "61000000 620063000000 0000").bytes);
        QCOMPARE(encodeTextList({}).bytes, dataOf(7, "00000000").bytes);
        QCOMPARE(encodeTextList({}).type, 7u);
        const TextList odd{L"\x4e2d", fromUtf8("\xF0\x9F\x98\x80"), L"x"};
        QCOMPARE(decodeTextList(encodeTextList(odd)), odd);
    }

    void readsInfFiles()
    {
        const auto inf =
            InfFile::parse("\xEF\xBB\xBFlost = 1\r\n[ One ] ; comment\r\nKey = a , \"b;c\", \"d\"\"e\"\r\n"
                           "joined = 1, \\ ; more\r\n  2\nalone\n[open\nnot = read\n[ONE]\nname = %s%-%%-%t%\n"
                           "[Strings]\ns = \"text\"\n");
        QVERIFY(inf);
        QCOMPARE(joined(inf->line(L"one", L"KEY")->fields), QStringLiteral("a b;c d\"e"));
        QCOMPARE(joined(inf->line(L"One", L"joined")->fields), QStringLiteral("1 2"));
        QCOMPARE(inf->value(L"ONE", L"name"), std::wstring(L"text-%-%t%"));
        QCOMPARE(inf->line(L"One", L"")->fields.front(), std::wstring(L"alone"));
        QVERIFY(inf->line(L"One", L"not") == nullptr && inf->section(L"open") == nullptr);
        QVERIFY(!InfFile::parse(std::string_view("[a]\0b", 5)));
        QVERIFY(!InfFile::parse(std::string(InfFile::kLargestFile + 1, ' ')));
        const std::string wide("\xFF\xFE[\0A\0]\0\n\0k\0=\0v\0x", 17);
        QCOMPARE(InfFile::parse(wide)->value(L"a", L"K"), std::wstring(L"v"));
    }

    void readsGuids()
    {
        const auto guid = parseGuid(L"{4d10a44f-446C-4481-B354-4F04E6C69812}");
        QVERIFY(guid);
        QCOMPARE(guidText(*guid), std::wstring(L"{4D10A44F-446C-4481-B354-4F04E6C69812}"));
        for (const wchar_t* text :
             {L"", L"{4D10A44F-446C-4481-B354-4F04E6C6981}", L"{4D10A44F-446C-4481-B3544-F04E6C69812}",
              L"{4D10A44F-446C-4481-B354-4F04E6C6981G}", L"(4D10A44F-446C-4481-B354-4F04E6C69812)"})
            QVERIFY(!parseGuid(text));
    }

    void convertsText()
    {
        const std::string valid = "a\xC3\xA4\xE4\xB8\xAD\xF0\x9F\x98\x80";
        QCOMPARE(toUtf8(fromUtf8(valid)), valid);
        QCOMPARE(toUtf8(fromUtf16(toUtf16(fromUtf8(valid)))), valid);
        for (const char* broken : {"\xC3", "\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xFF", "\x80"})
            QVERIFY(fromUtf8(broken).front() == 0xFFFD);
        QCOMPARE(toUtf8(std::wstring(1, static_cast<wchar_t>(0xD800))), std::string("\xEF\xBF\xBD"));
    }

    void namesProblems()
    {
        const std::pair<std::uint32_t, const wchar_t*> names[] = {{0, L"0"},         {1, L"NOT_CONFIGURED"},
                                                                  {22, L"DISABLED"}, {57, L"GUEST_ASSIGNMENT_FAILED"},
                                                                  {58, L"58"},       {0xFFFFFFFF, L"4294967295"}};
        for (const auto& [number, name] : names)
            QCOMPARE(problemName(number), L"CM_PROB_" + std::wstring(name));
    }

    void formatsMessages()
    {
        const std::vector<std::wstring> inserts{L"100% %1\n", L"b"};
        QCOMPARE(messageText(60001, inserts), std::wstring(L"100% %1\n: the command \"b\" failed.\n"));
        QCOMPARE(messageText(60001, {}), std::wstring(L": the command \"\" failed.\n"));
        QCOMPARE(messageText(1, {}), std::wstring());
        QCOMPARE(messageText(3000, {}), std::wstring());
        QCOMPARE(*loadedText(3000, 80), std::wstring(L"Enabled"));
        QCOMPARE(*loadedText(3000, 3), std::wstring(L"En"));
        QVERIFY(!loadedText(3012, 80) && !loadedText(60001, 80));
        for (std::uint32_t number = 3000; number <= 3011; ++number)
            QVERIFY(loadedText(number, 80)->size() < 79);
    }
};

PLUGBOARD_SUITE(ParsingTest)
#include "parsing_test.moc"

#include "tools/tour/expected_text.h"

#include <QFile>
#include <QRegularExpression>
#include <QXmlStreamReader>

#include <vector>

namespace {

struct Text
{
    QString source;
    QRegularExpression pattern; ///< the source text, a group for each value
    QList<int> values;          ///< number of the value that each group stands for
    int letters = 0;            ///< of the source text, without its values
    QString translation;
};

Text textOf(const QString& source, const QString& translation)
{
    static const QRegularExpression place(QStringLiteral("%(\\d)"));
    Text made;
    made.source = source;
    made.translation = translation;
    QString pattern;
    int end = 0;
    for (auto match = place.globalMatch(source); match.hasNext();) {
        const QRegularExpressionMatch value = match.next();
        pattern += QRegularExpression::escape(source.mid(end, value.capturedStart() - end)) + QStringLiteral("(.*)");
        made.values << value.captured(1).toInt();
        end = value.capturedEnd();
    }
    pattern += QRegularExpression::escape(source.mid(end));
    made.letters = source.size() - 2 * made.values.size();
    made.pattern = QRegularExpression(QRegularExpression::anchoredPattern(pattern),
                                      QRegularExpression::DotMatchesEverythingOption);
    return made;
}

std::vector<Text> readTexts()
{
    std::vector<Text> texts;
    QFile file(QStringLiteral(":/texts/plugboard_zh_CN.ts"));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("The texts are not compiled in.");
    QXmlStreamReader reader(&file);
    QString source;
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (reader.name() == QLatin1String("source"))
            source = reader.readElementText();
        else if (reader.name() == QLatin1String("translation"))
            texts.push_back(textOf(source, reader.readElementText()));
    }
    return texts;
}

QString filledIn(const Text& text, const QRegularExpressionMatch& match)
{
    static const QRegularExpression place(QStringLiteral("%(\\d)"));
    QString made;
    int end = 0;
    for (auto places = place.globalMatch(text.translation); places.hasNext();) {
        const QRegularExpressionMatch value = places.next();
        const int group = text.values.indexOf(value.captured(1).toInt()) + 1;
        made += text.translation.mid(end, value.capturedStart() - end) + match.captured(group);
        end = value.capturedEnd();
    }
    return made + text.translation.mid(end);
}

const std::vector<Text>& allTexts()
{
    static const std::vector<Text> texts = readTexts();
    return texts;
}

} // namespace

QString expectedText(const QString& english, Language language)
{
    if (language == Language::English)
        return english;
    const Text* best = nullptr;
    for (const Text& text : allTexts()) {
        if ((!best || text.letters > best->letters) && text.pattern.match(english).hasMatch())
            best = &text;
    }
    return best ? filledIn(*best, best->pattern.match(english)) : english;
}

QString expectedBeginning(const QString& english, Language language)
{
    if (language == Language::English)
        return english;
    for (const Text& text : allTexts()) {
        if (text.source.startsWith(english + QLatin1Char('%')))
            return text.translation.section(QLatin1Char('%'), 0, 0);
    }
    return expectedText(english, language);
}

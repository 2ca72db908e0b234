#include "runtime/secrets.h"

#include <QRegularExpression>

#include <array>

namespace {

struct Replacement
{
    QRegularExpression pattern;
    QString by;
};

const std::array<Replacement, 6>& replacements()
{
    const auto option = QRegularExpression::CaseInsensitiveOption;
    const QString name =
        QStringLiteral(R"([a-z_]*(?:pin(?:hash|token|auth|code)?|passw(?:or)?d|passphrase|token|secret|)"
                       R"(private_?key(?:pem)?))");
    static const std::array<Replacement, 6> all{{
        {QRegularExpression(QStringLiteral("-----BEGIN [A-Z ]+-----.*?(?:-----END [A-Z ]+-----|$)"),
                            QRegularExpression::DotMatchesEverythingOption),
         QStringLiteral("***")},
        {QRegularExpression(QStringLiteral(R"(([a-z][a-z0-9+.-]*://)[^/\s"?#]*@)"), option), QStringLiteral("\\1***@")},
        {QRegularExpression(QStringLiteral(R"(([a-z][a-z0-9+.-]*://[^\s"?#]*\?)[^\s"#]+)"), option),
         QStringLiteral("\\1***")},
        // A value that was cut off ends with its line: it must not take the quote that begins the next member.
        {QRegularExpression(QStringLiteral(R"(("%1"\s*:\s*)("(?:[^"\\\n]|\\.)*"?|[^",}\]\s]+))").arg(name), option),
         QStringLiteral("\\1\"***\"")},
        // The same within a quoted text: each quote has a backslash, each backslash a second one.
        {QRegularExpression(
             QStringLiteral(R"((\\"%1\\"\s*:\s*)(\\"(?:[^\\"\n]|\\\\(?:\\.)?)*(?:\\"|$|(?=\n))|[^\\",}\]\s]+))")
                 .arg(name),
             option),
         QStringLiteral("\\1\\\"***\\\"")},
        {QRegularExpression(QStringLiteral(R"((\b%1=)\S+)").arg(name), option), QStringLiteral("\\1***")},
    }};
    return all;
}

} // namespace

QString sourceForLog(const QString& source)
{
    static const QRegularExpression address(QStringLiteral(R"(^([a-z][a-z0-9+.-]*://)(?:[^/?#]*@)?([^/?#]*))"),
                                            QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch match = address.match(source.trimmed());
    if (match.hasMatch() && !match.captured(2).isEmpty())
        return match.captured(1) + match.captured(2);
    return source.trimmed().isEmpty() ? QStringLiteral("nothing") : QStringLiteral("a file");
}

QString withoutSecrets(const QString& text)
{
    QString kept = text;
    for (const Replacement& replacement : replacements())
        kept.replace(replacement.pattern, replacement.by);
    return kept;
}

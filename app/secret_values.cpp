#include "app/secret_values.h"

#include "app/standard_streams.h"
#include "dialogs/settings/field_patterns.h"
#include "runtime/shown_text.h"

#include <QFile>

#include <optional>

namespace {

const QString kSource = QStringLiteral("source=");
constexpr int kLongest = 4096; ///< bytes of a line

/// The line that would do as a source; nothing for one that is empty, too long or holds what no source has.
std::optional<QString> sourceIn(const std::optional<QString>& line)
{
    const QString source = line.value_or(QString()).trimmed();
    const bool isFit = !source.isEmpty() && source.size() < kLongest && patterns::isOneLine(source);
    return isFit ? std::optional(source) : std::nullopt;
}

std::optional<QString> sourceInFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return sourceIn(QString::fromUtf8(file.readLine(kLongest + 1)));
}

} // namespace

AssignmentsOfScript withSecretValues(const QStringList& assignments)
{
    AssignmentsOfScript read;
    for (const QString& text : assignments) {
        const QString value = text.startsWith(kSource) ? text.mid(kSource.size()) : QString();
        const bool isFile = value.startsWith(QLatin1Char('@'));
        const bool isInput = value == QLatin1String("-");
        if (!isFile && !isInput) {
            read.texts << text;
            continue;
        }
        const auto source = isFile ? sourceInFile(value.mid(1)) : sourceIn(readInputLine());
        if (!source)
            return {{},
                    QStringLiteral("source: The first line of %1 is no file or URL, or cannot be read.")
                        .arg(isFile ? QStringLiteral("'%1'").arg(shownText(value.mid(1)))
                                    : QStringLiteral("standard input"))};
        read.texts << kSource + *source;
    }
    return read;
}

#include "capture/decode/packet_filter.h"

#include "capture/decode/filter_fields.h"
#include "capture/decode/packet_text.h"

#include <QCoreApplication>

#include <algorithm>
#include <array>
#include <memory>
#include <utility>

namespace {

using Wants = PacketFilter::Wants;

struct FilterText
{
    Q_DECLARE_TR_FUNCTIONS(PacketFilter)
};

struct Token
{
    enum Kind
    {
        Word,
        Quoted,
        Operator,
        End,
    };
    Kind kind = End;
    QString text;
    int position = 0;
};

const std::array<QString, 12> kOperators{
    QStringLiteral("=="), QStringLiteral("!="), QStringLiteral("<="), QStringLiteral(">="),
    QStringLiteral("&&"), QStringLiteral("||"), QStringLiteral("<"),  QStringLiteral(">"),
    QStringLiteral("!"),  QStringLiteral("("),  QStringLiteral(")"),  QStringLiteral("="),
};

const QString kMeaning = QStringLiteral("meaning");

/// The operator at this place; empty when there is none.
QString operatorAt(const QString& text, int position)
{
    const auto* found = std::find_if(kOperators.begin(), kOperators.end(), [&](const QString& candidate) {
        return text.midRef(position, candidate.size()) == candidate;
    });
    return found == kOperators.end() ? QString() : *found;
}

std::vector<Token> tokensOf(const QString& text)
{
    std::vector<Token> tokens;
    for (int position = 0; position < text.size();) {
        if (text[position].isSpace()) {
            ++position;
            continue;
        }
        Token token{Token::Word, {}, position};
        if (text[position] == QLatin1Char('"')) {
            const int end = text.indexOf(QLatin1Char('"'), position + 1);
            token.kind = Token::Quoted;
            token.text = text.mid(position + 1, end < 0 ? -1 : end - position - 1);
            position = end < 0 ? text.size() : end + 1;
        } else if (const QString found = operatorAt(text, position); !found.isEmpty()) {
            token.kind = Token::Operator;
            token.text = found;
            position += found.size();
        } else {
            while (position < text.size() && !text[position].isSpace() && text[position] != QLatin1Char('"') &&
                   operatorAt(text, position).isEmpty())
                token.text += text[position++];
            if (token.text == QLatin1String("and") || token.text == QLatin1String("or") ||
                token.text == QLatin1String("not")) {
                token.kind = Token::Operator;
                token.text = token.text == QLatin1String("and")  ? QStringLiteral("&&")
                             : token.text == QLatin1String("or") ? QStringLiteral("||")
                                                                 : QStringLiteral("!");
            }
        }
        tokens.push_back(token);
    }
    tokens.push_back({Token::End, {}, text.size()});
    return tokens;
}

Wants textWanted(const QString& text)
{
    return [search = std::make_shared<TextSearch>(text)](const PacketView& packet) { return search->matches(packet); };
}

template<typename Value>
std::function<bool(Value, Value)> comparisonOf(const QString& sign)
{
    if (sign == QLatin1String("=="))
        return std::equal_to<Value>();
    if (sign == QLatin1String("!="))
        return std::not_equal_to<Value>();
    if (sign == QLatin1String("<"))
        return std::less<Value>();
    if (sign == QLatin1String("<="))
        return std::less_equal<Value>();
    if (sign == QLatin1String(">"))
        return std::greater<Value>();
    if (sign == QLatin1String(">="))
        return std::greater_equal<Value>();
    return {};
}

/// Goes down the text once; the first thing that is wrong ends it.
class Parser
{
public:
    Parser(const QString& text, PacketFilter::MeaningOf meaning)
        : m_tokens(tokensOf(text))
        , m_meaning(std::move(meaning))
    {}

    PacketFilter parse()
    {
        PacketFilter filter;
        filter.wants = alternatives(0);
        if (m_error.isEmpty() && next().kind != Token::End)
            fail(FilterText::tr("\"&&\" or \"||\" is expected here"));
        if (!m_error.isEmpty())
            return {{}, {}, m_error, m_errorPosition, false};
        filter.asksMeaning = m_asksMeaning;
        return filter;
    }

    /// Whether the text has a sign that makes it more than a text to look for.
    bool isExpression() const
    {
        return std::any_of(m_tokens.begin(), m_tokens.end(),
                           [](const Token& token) {
                               return token.kind == Token::Operator || token.kind == Token::Quoted ||
                                      token.text == QLatin1String("contains");
                           }) ||
               (m_tokens.size() == 2 && filter_fields::flags().count(m_tokens[0].text.toLower()) > 0);
    }

private:
    const Token& next() const { return m_tokens[m_place]; }
    Token take() { return m_tokens[next().kind == Token::End ? m_place : m_place++]; }
    bool takeOperator(const char* sign)
    {
        if (next().kind != Token::Operator || next().text != QLatin1String(sign))
            return false;
        ++m_place;
        return true;
    }
    Wants fail(const QString& error)
    {
        if (m_error.isEmpty()) {
            m_error = error;
            m_errorPosition = next().position;
        }
        return {};
    }

    Wants alternatives(int depth)
    {
        Wants left = conjunction(depth);
        while (m_error.isEmpty() && takeOperator("||"))
            left = [left, right = conjunction(depth)](const PacketView& p) { return left(p) || right(p); };
        return left;
    }

    Wants conjunction(int depth)
    {
        Wants left = term(depth);
        while (m_error.isEmpty() && takeOperator("&&"))
            left = [left, right = term(depth)](const PacketView& p) { return left(p) && right(p); };
        return left;
    }

    Wants term(int depth)
    {
        constexpr int kDeepest = 100;
        if (depth > kDeepest)
            return fail(FilterText::tr("There are too many parentheses"));
        if (takeOperator("!"))
            return [inner = term(depth + 1)](const PacketView& p) { return !inner(p); };
        if (takeOperator("(")) {
            const Wants inner = alternatives(depth + 1);
            return m_error.isEmpty() && !takeOperator(")") ? fail(FilterText::tr("\")\" is missing")) : inner;
        }
        if (next().kind != Token::Word && next().kind != Token::Quoted)
            return fail(FilterText::tr("A field or a text is expected here"));
        return comparison();
    }

    Wants comparison()
    {
        const Token& subject = next();
        const QString name = subject.text.toLower();
        const auto& numbers = filter_fields::numbers();
        const auto& bytes = filter_fields::bytes();
        const auto& flags = filter_fields::flags();
        const Token& sign = m_tokens[m_place + 1];
        const bool compares = comparisonOf<std::int64_t>(sign.text) != nullptr && sign.kind == Token::Operator;
        const bool contains = sign.kind == Token::Word && sign.text == QLatin1String("contains");
        if (subject.kind == Token::Word && (compares || contains)) {
            if (const auto found = numbers.find(name); found != numbers.end())
                return numberComparison(name, found->second, contains);
            if (const auto found = bytes.find(name); found != bytes.end())
                return bytesComparison(found->second);
            if (name == kMeaning)
                return bytesComparison(meaningField());
            return fail(FilterText::tr("There is no field \"%1\"").arg(subject.text));
        }
        if (sign.kind == Token::Operator && sign.text == QLatin1String("=")) {
            ++m_place;
            return fail(FilterText::tr("\"==\" is expected here"));
        }
        ++m_place;
        if (const auto found = flags.find(name); subject.kind == Token::Word && found != flags.end())
            return found->second;
        return textWanted(subject.text);
    }

    /// The text of the packet that was asked for last is kept: a filter is for one thread.
    filter_fields::BytesField meaningField()
    {
        m_asksMeaning = true;
        const auto value = [meaning = m_meaning, text = std::make_shared<std::string>()](const PacketView& packet) {
            *text = meaning ? meaning(packet).toStdString() : std::string();
            return std::string_view(*text);
        };
        return {value, true};
    }

    Wants numberComparison(const QString& name, const filter_fields::NumberField& field, bool contains)
    {
        ++m_place;
        if (contains)
            return fail(FilterText::tr("A number is compared with ==, !=, <, <=, > or >="));
        const QString sign = take().text;
        const QString text = next().text.toLower();
        const auto symbol = field.symbols.find(text);
        bool valid = symbol != field.symbols.end();
        const qint64 wanted = valid ? symbol->second : text.toLongLong(&valid, 0);
        if (!valid || next().kind != Token::Word)
            return fail(expected(field));
        ++m_place;
        const auto compare = comparisonOf<std::int64_t>(sign);
        if (name == QLatin1String("endpoint") && wanted >= 0x80)
            return [compare, wanted](const PacketView& packet) {
                return compare(packet.endpoint | (packet.direction != 0 ? 0x80 : 0), wanted);
            };
        return [compare, wanted, value = field.value](const PacketView& packet) {
            const auto number = value(packet);
            return number && compare(*number, wanted);
        };
    }

    static QString expected(const filter_fields::NumberField& field)
    {
        QStringList names;
        for (const auto& [name, value] : field.symbols)
            names << name;
        return names.isEmpty() ? FilterText::tr("A number is expected here")
                               : FilterText::tr("Expected here: %1").arg(names.join(QStringLiteral(", ")));
    }

    Wants bytesComparison(const filter_fields::BytesField& field)
    {
        ++m_place;
        const Token sign = take();
        const bool contains = sign.kind == Token::Word;
        const bool equals = sign.text == QLatin1String("==") || sign.text == QLatin1String("!=");
        if (!contains && !equals) {
            --m_place;
            return fail(FilterText::tr("Bytes and texts are compared with ==, != or contains"));
        }
        const bool isText = field.isText || next().kind == Token::Quoted;
        const std::string wanted = isText ? takeText(field.isText) : takeBytes();
        if (!m_error.isEmpty())
            return {};
        const bool folds = field.isText;
        const bool negated = sign.text == QLatin1String("!=");
        return [value = field.value, wanted, contains, negated, folds](const PacketView& packet) {
            const std::string_view bytes = value(packet);
            const bool found = folds ? containsFolded(bytes, wanted) : bytes.find(wanted) != std::string_view::npos;
            return contains ? found : (found && bytes.size() == wanted.size()) != negated;
        };
    }

    std::string takeText(bool folds)
    {
        if (next().kind != Token::Word && next().kind != Token::Quoted)
            return fail(FilterText::tr("A text is expected here")), std::string();
        QString text = take().text;
        while (next().kind == Token::Word)
            text += QLatin1Char(' ') + take().text;
        return (folds ? text.toLower() : text).toStdString();
    }

    std::string takeBytes()
    {
        QByteArray pairs;
        const auto isPairs = [](QString text) {
            text.remove(QLatin1Char(':'));
            return text.size() % 2 == 0 && std::all_of(text.begin(), text.end(), [](QChar letter) {
                       return QByteArray("0123456789abcdefABCDEF").contains(letter.toLatin1());
                   });
        };
        while (next().kind == Token::Word && isPairs(next().text))
            pairs += take().text.remove(QLatin1Char(':')).toLatin1();
        if (pairs.isEmpty() || next().kind == Token::Word)
            fail(FilterText::tr("Pairs of hexadecimal digits or a text in quotes are expected here"));
        return QByteArray::fromHex(pairs).toStdString();
    }

    std::vector<Token> m_tokens;
    const PacketFilter::MeaningOf m_meaning;
    bool m_asksMeaning = false;
    std::size_t m_place = 0;
    QString m_error;
    int m_errorPosition = -1;
};

} // namespace

PacketFilter parsePacketFilter(const QString& text, PacketFilter::MeaningOf meaning)
{
    if (text.trimmed().isEmpty())
        return {};
    Parser parser(text, std::move(meaning));
    if (!parser.isExpression())
        return {textWanted(text.trimmed()), text.trimmed(), {}, -1, false};
    return parser.parse();
}

QStringList packetFilterWords()
{
    QStringList words{QStringLiteral("contains"), kMeaning};
    for (const auto& [name, field] : filter_fields::numbers()) {
        words << name;
        for (const auto& [symbol, value] : field.symbols)
            words << symbol;
    }
    for (const auto& [name, field] : filter_fields::bytes())
        words << name;
    for (const auto& [name, field] : filter_fields::flags())
        words << name;
    words.sort();
    words.removeDuplicates();
    return words;
}

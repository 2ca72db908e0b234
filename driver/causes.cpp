#include "driver/causes.h"

#include "driver/text.h"

namespace driver {

namespace {

bool ofConfigurationManager(ErrorCode error)
{
    return (error & 0xF0000000) == configuration::kRange;
}

/// The number as it is looked up: "0x00000005", and "CR 0x0D" for a result of the configuration manager.
std::wstring shownNumber(ErrorCode error)
{
    return ofConfigurationManager(error) ? L"CR 0x" + hexadecimal(error & ~configuration::kRange, 2, HexCase::Upper)
                                         : L"0x" + hexadecimal(error, 8, HexCase::Upper);
}

/// The system has no texts for results of the configuration manager; these are the engine's.
std::wstring configurationText(ErrorCode error)
{
    constexpr std::uint32_t kFirst = 62000; // plus the result
    return messageWords(static_cast<Message>(kFirst + (error & ~configuration::kRange)));
}

} // namespace

void Causes::report(ErrorCode error, std::wstring_view subject)
{
    ++m_count;
    std::wstring text = ofConfigurationManager(error) ? configurationText(error) : m_machine.errorText(error);
    if (text.empty())
        text = messageWords(Message::NoErrorText);
    const std::wstring number = shownNumber(error);
    if (subject.empty())
        m_printer.error(Message::Cause, {m_program, number, text});
    else
        m_printer.error(Message::CauseOf, {m_program, std::wstring(subject), number, text});
}

void Causes::reportUnless(ErrorCode absence, ErrorCode error, std::wstring_view subject)
{
    if (error != 0 && error != absence)
        report(error, subject);
}

} // namespace driver

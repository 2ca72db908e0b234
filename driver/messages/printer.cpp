#include "driver/messages/printer.h"

#include "driver/messages/message_text.h"
#include "driver/text.h"

#include <vector>

namespace driver {

namespace {

constexpr std::size_t kDeviceColumn = 60;

std::wstring textOf(Message message, const std::vector<std::wstring>& inserts)
{
    return message == Message::None ? std::wstring() : messageText(static_cast<std::uint32_t>(message), inserts);
}

std::wstring withOneLineEnd(std::wstring text)
{
    const std::size_t end = text.find_last_not_of(L"\r\n") + 1;
    if (end < text.size()) {
        text.resize(end);
        text += L'\n';
    }
    return text;
}

} // namespace

std::wstring messageLine(Message message, std::initializer_list<std::wstring> inserts)
{
    return withOneLineEnd(textOf(message, inserts));
}

std::wstring messageWords(Message message)
{
    std::wstring text = textOf(message, {});
    text.resize(text.find_last_not_of(L"\r\n") + 1);
    return text;
}

void Printer::message(Message message, std::initializer_list<std::wstring> inserts, std::wstring_view indent)
{
    const std::wstring line = messageLine(message, inserts);
    if (!line.empty())
        m_output.write(Stream::Normal, std::wstring(indent) + line);
}

void Printer::error(Message message, std::initializer_list<std::wstring> inserts)
{
    const std::wstring line = messageLine(message, inserts);
    if (!line.empty())
        m_output.write(Stream::Error, line);
}

void Printer::failure(Message message, ErrorCode error)
{
    this->message(message, {L"0x" + hexadecimal(error, 8, HexCase::Upper)});
}

void Printer::localOrRemote(Message local, Message remote, const MachineName& machine,
                            std::initializer_list<std::wstring> inserts)
{
    std::vector<std::wstring> all(inserts);
    if (!machine.empty())
        all.push_back(machine);
    const std::wstring line = withOneLineEnd(textOf(machine.empty() ? local : remote, all));
    if (!line.empty())
        m_output.write(Stream::Normal, line);
}

void Printer::deviceLine(std::wstring_view instanceId, std::wstring_view text)
{
    m_output.write(Stream::Normal, devicePrefix(instanceId) + std::wstring(text) + L"\n");
}

std::wstring devicePrefix(std::wstring_view instanceId)
{
    return padded(instanceId, kDeviceColumn) + L": ";
}

} // namespace driver

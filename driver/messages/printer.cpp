#include "driver/messages/printer.h"

#include "driver/messages/message_text.h"
#include "driver/text.h"

namespace driver {

namespace {

constexpr std::size_t kDeviceColumn = 60;

std::wstring textOf(Message message, const std::vector<std::wstring>& inserts)
{
    return message == Message::None ? std::wstring() : messageText(static_cast<std::uint32_t>(message), inserts);
}

} // namespace

std::wstring messageWords(Message message)
{
    std::wstring text = textOf(message, {});
    text.resize(text.find_last_not_of(L"\r\n") + 1);
    return text;
}

void Printer::write(Stream stream, Message message, const std::vector<std::wstring>& inserts, std::wstring_view indent)
{
    std::wstring line = textOf(message, inserts);
    if (line.empty())
        return;
    if (const std::size_t end = line.find_last_not_of(L"\r\n") + 1; end < line.size()) {
        line.resize(end);
        line += L'\n';
    }
    m_output.write(stream, std::wstring(indent) + line);
}

void Printer::failure(Message message, ErrorCode error)
{
    this->message(message, {L"0x" + hexadecimal(error, 8, HexCase::Upper)});
}

void Printer::localOrRemote(Message local, Message remote, const MachineName& machine,
                            std::vector<std::wstring> inserts)
{
    if (!machine.empty())
        inserts.push_back(machine);
    write(Stream::Normal, machine.empty() ? local : remote, inserts);
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

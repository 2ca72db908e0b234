// printer.h: how commands write: numbered messages and lines, always through the output seam.
#pragma once

#include "driver/messages/message_number.h"
#include "driver/output.h"
#include "driver/platform_types.h"

#include <string>
#include <string_view>
#include <vector>

namespace driver {

/// Line prefix of what belongs to a device printed above it.
inline constexpr std::wstring_view kIndent = L"    ";

/// The text of `message` without any line end, to be part of another text; empty when there is no such text.
std::wstring messageWords(Message message);

class Printer
{
public:
    explicit Printer(Output& output) : m_output(output) {}

    /// Line ends at the end become one LF. A message that has no text writes nothing, its indent neither.
    void message(Message message, const std::vector<std::wstring>& inserts = {}, std::wstring_view indent = {})
    {
        write(Stream::Normal, message, inserts, indent);
    }
    void error(Message message, const std::vector<std::wstring>& inserts) { write(Stream::Error, message, inserts); }

    /// A message about what the system refused; its insert is the error number as it is looked up, "0x00000005".
    void failure(Message message, ErrorCode error);

    /// The form for this machine, or with a machine the remote one, which has the machine as one more insert.
    void localOrRemote(Message local, Message remote, const MachineName& machine,
                       std::vector<std::wstring> inserts = {});

    void text(std::wstring_view text) { m_output.write(Stream::Normal, text); }

    /// "%-60s: %s\n".
    void deviceLine(std::wstring_view instanceId, std::wstring_view text);

private:
    void write(Stream stream, Message message, const std::vector<std::wstring>& inserts, std::wstring_view indent = {});

    Output& m_output;
};

/// "%-60s: ", where the rest of a device's line follows.
std::wstring devicePrefix(std::wstring_view instanceId);

} // namespace driver

// causes.h: tells why something failed, on the error stream, beside what a command prints by itself.
#pragma once

#include "driver/device_platform.h"
#include "driver/messages/printer.h"

#include <string>
#include <string_view>

namespace driver {

/// One line for each failure: the program, what failed, the error's number and the system's own text for it.
class Causes
{
public:
    /// All must outlive this.
    Causes(Printer& printer, Machine& machine, const std::wstring& program)
        : m_printer(printer)
        , m_machine(machine)
        , m_program(program)
    {}

    /// `subject` is the device, file or name that it happened to; empty for the command as a whole.
    void report(ErrorCode error, std::wstring_view subject = {});

    /// Reports an error unless it is `absence`, how the system says that there is nothing (more) of what was asked for.
    void reportUnless(ErrorCode absence, ErrorCode error, std::wstring_view subject = {});

    int count() const { return m_count; }

private:
    Printer& m_printer;
    Machine& m_machine;
    const std::wstring& m_program;
    int m_count = 0;
};

} // namespace driver

// captured_output.h: keeps what the engine writes as one text; lines of the error stream begin with "! ".
#pragma once

#include "driver/output.h"
#include "driver/text.h"

#include <string>

class CapturedOutput final : public driver::Output
{
public:
    void write(driver::Stream stream, std::wstring_view text) override
    {
        for (const char byte : driver::toUtf8(text)) {
            if (stream == driver::Stream::Error && (m_text.empty() || m_text.back() == '\n'))
                m_text += "! ";
            m_text += byte;
        }
    }

    std::string take() { return std::exchange(m_text, {}); }

private:
    std::string m_text;
};

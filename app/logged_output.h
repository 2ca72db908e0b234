// logged_output.h: what the driver engine says, also in the log.
#pragma once

#include "driver/output.h"

#include <QString>

/// Passes everything on and logs each whole line.
class LoggedOutput final : public driver::Output
{
public:
    explicit LoggedOutput(driver::Output& next = driver::systemOutput()) : m_next(next) {}

    void write(driver::Stream stream, std::wstring_view text) override;

private:
    driver::Output& m_next;
    QString m_line; ///< the beginning of one
};

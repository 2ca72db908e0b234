#include "app/logged_output.h"

#include "app/log.h"

void LoggedOutput::write(driver::Stream stream, std::wstring_view text)
{
    m_next.write(stream, text);
    m_line += QString::fromWCharArray(text.data(), static_cast<int>(text.size()));
    for (int end = m_line.indexOf(QLatin1Char('\n')); end >= 0; end = m_line.indexOf(QLatin1Char('\n'))) {
        qCInfo(driverLog).noquote() << m_line.left(end);
        m_line.remove(0, end + 1);
    }
}

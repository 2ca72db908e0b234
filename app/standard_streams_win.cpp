#include "app/standard_streams.h"

#include <windows.h>

namespace {

bool writeTo(DWORD stream, const QString& text)
{
    if (text.isEmpty())
        return true;
    if (!GetStdHandle(stream))
        AttachConsole(ATTACH_PARENT_PROCESS);
    const HANDLE handle = GetStdHandle(stream);
    DWORD mode = 0;
    DWORD written = 0;
    if (GetConsoleMode(handle, &mode))
        return WriteConsoleW(handle, text.utf16(), static_cast<DWORD>(text.size()), &written, nullptr);
    const QByteArray bytes = text.toUtf8();
    return WriteFile(handle, bytes.constData(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}

} // namespace

bool printOut(const QString& text)
{
    return writeTo(STD_OUTPUT_HANDLE, text);
}

bool printError(const QString& text)
{
    return writeTo(STD_ERROR_HANDLE, text);
}

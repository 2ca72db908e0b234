#include "app/standard_streams.h"

#include <windows.h>

namespace {

void writeTo(DWORD stream, const QString& text)
{
    if (!GetStdHandle(stream))
        AttachConsole(ATTACH_PARENT_PROCESS);
    const HANDLE handle = GetStdHandle(stream);
    DWORD mode = 0;
    DWORD written = 0;
    if (GetConsoleMode(handle, &mode)) {
        WriteConsoleW(handle, text.utf16(), static_cast<DWORD>(text.size()), &written, nullptr);
        return;
    }
    const QByteArray bytes = text.toUtf8();
    WriteFile(handle, bytes.constData(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}

} // namespace

void printOut(const QString& text)
{
    writeTo(STD_OUTPUT_HANDLE, text);
}

void printError(const QString& text)
{
    writeTo(STD_ERROR_HANDLE, text);
}

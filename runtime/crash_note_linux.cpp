#include "runtime/crash_note.h"

#include <QFile>

#include <array>
#include <atomic>
#include <csignal>
#include <cstring>

#include <execinfo.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

struct NamedSignal
{
    int number;
    const char* name;
};
constexpr std::array<NamedSignal, 5> kSignals{{
    {SIGSEGV, "SIGSEGV (memory fault)"},
    {SIGBUS, "SIGBUS (memory fault)"},
    {SIGILL, "SIGILL (illegal instruction)"},
    {SIGFPE, "SIGFPE (arithmetic fault)"},
    {SIGABRT, "SIGABRT (abort)"},
}};

/// A signal handler takes no arguments of ours and may not allocate: all that it needs is laid ready here.
struct Prepared
{
    std::array<char, 4096> path;
    std::array<char, 512> heading;
    std::array<char, 64 * 1024> stack; ///< of the handler, for the thread's own may be used up
    std::atomic_flag writing;
};

Prepared* s_prepared = nullptr; // never destroyed: a crash may come at the very end

void put(int file, const char* text)
{
    const ssize_t written = ::write(file, text, std::strlen(text));
    static_cast<void>(written); // nobody is left to be told
}

void writeNote(int signal)
{
    const int file = ::open(s_prepared->path.data(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (file < 0)
        return;
    put(file, s_prepared->heading.data());
    for (const NamedSignal& known : kSignals) {
        if (known.number != signal)
            continue;
        put(file, "signal: ");
        put(file, known.name);
        put(file, "\n");
    }
    put(file, "stack:\n");
    std::array<void*, 64> frames;
    ::backtrace_symbols_fd(frames.data(), ::backtrace(frames.data(), int(frames.size())), file);
    ::close(file);
}

/// The signal's own effect is back in place: raising it again ends the process as the system would have.
void onSignal(int signal)
{
    if (s_prepared->writing.test_and_set()) {
        for (;;)
            ::pause(); // another thread crashed first and is about to end the process
    }
    writeNote(signal);
    ::raise(signal);
}

template<std::size_t size>
void copyInto(std::array<char, size>& target, const QByteArray& text)
{
    const QByteArray kept = text.left(int(size) - 1);
    std::memcpy(target.data(), kept.constData(), std::size_t(kept.size()) + 1);
}

} // namespace

void leaveCrashNote(const QString& path, const QByteArray& heading)
{
    Prepared& ready = *new Prepared{};
    copyInto(ready.path, QFile::encodeName(path));
    copyInto(ready.heading, heading);
    s_prepared = &ready;

    std::array<void*, 1> frame;
    ::backtrace(frame.data(), 1); // loads what it needs now: in a handler it may not
    stack_t stack = {};
    stack.ss_sp = ready.stack.data();
    stack.ss_size = ready.stack.size();
    ::sigaltstack(&stack, nullptr);
    for (const NamedSignal& known : kSignals) {
        struct sigaction action = {};
        action.sa_handler = &onSignal;
        action.sa_flags = SA_ONSTACK | int(SA_RESETHAND) | SA_NODEFER;
        ::sigaction(known.number, &action, nullptr);
    }
}

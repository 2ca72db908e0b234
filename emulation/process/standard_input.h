// standard_input.h: the first line of standard input, read without holding up the event loop.
#pragma once

#include <QByteArray>
#include <QDeadlineTimer>

#include <functional>

/// What became of the line.
enum class InputLine
{
    Complete, ///< the bytes are the line without its line feed
    TooLong,  ///< more than the longest line without a line feed; no bytes
    Missing,  ///< the input or the time ended before a line feed; no bytes
};

/// Receives the line on the thread that called readFirstLine().
using LineHandler = std::function<void(InputLine, const QByteArray&)>;

/// Calls `handler` once, from the event loop of the calling thread: when a whole line has come, or one longer than
/// `longestLine` bytes, or none will. What had come when the time ended counts, also in a process that did not run
/// then. Standard input is read by a thread of its own that is never waited for, because a read of a pipe can block for
/// ever; nothing may read it besides.
void readFirstLine(int longestLine, QDeadlineTimer deadline, const LineHandler& handler);

/// Whether something can be read, or the input has ended, before the time has. Looks once, however late it is.
/// Implemented per system.
bool waitForStandardInput(QDeadlineTimer deadline);

/// Up to `capacity` bytes of standard input, waiting for the first; 0 at its end or on an error. Implemented per
/// system.
int readStandardInput(char* bytes, int capacity);

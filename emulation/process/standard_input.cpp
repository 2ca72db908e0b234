#include "emulation/process/standard_input.h"

#include <QCoreApplication>

#include <array>
#include <memory>
#include <mutex>
#include <thread>

namespace {

/// Object whose thread runs the handler. The reading thread outlives it, so it is taken away under the mutex first.
struct Delivery
{
    std::mutex mutex;
    QObject* target = nullptr;
};

void deliver(Delivery& delivery, const LineHandler& handler, InputLine kind, const QByteArray& line)
{
    const std::lock_guard lock(delivery.mutex);
    if (delivery.target)
        QMetaObject::invokeMethod(
            delivery.target, [handler, kind, line] { handler(kind, line); }, Qt::QueuedConnection);
}

void readLine(const std::shared_ptr<Delivery>& delivery, int longestLine, QDeadlineTimer deadline,
              const LineHandler& handler)
{
    QByteArray line;
    std::array<char, 4096> piece;
    while (waitForStandardInput(deadline)) {
        const int size = readStandardInput(piece.data(), int(piece.size()));
        if (size == 0)
            break;
        const int scanned = line.size();
        line.append(piece.data(), size);
        const int end = line.indexOf('\n', scanned);
        if (end > longestLine || (end < 0 && line.size() > longestLine))
            return deliver(*delivery, handler, InputLine::TooLong, {});
        if (end >= 0)
            return deliver(*delivery, handler, InputLine::Complete, line.left(end));
    }
    deliver(*delivery, handler, InputLine::Missing, {});
}

} // namespace

void readFirstLine(int longestLine, QDeadlineTimer deadline, const LineHandler& handler)
{
    const auto delivery = std::make_shared<Delivery>();
    delivery->target = new QObject(QCoreApplication::instance());
    QObject::connect(delivery->target, &QObject::destroyed, delivery->target, [delivery] {
        const std::lock_guard lock(delivery->mutex);
        delivery->target = nullptr;
    });
    std::thread(readLine, delivery, longestLine, deadline, handler).detach();
}

#include "devices/device_process.h"

#include "devices/log.h"
#include "runtime/shown_text.h"

#include <utility>

DeviceProcess::DeviceProcess(const QString& program, std::function<void(const DeviceEnd&)> ended)
    : m_ended(std::move(ended))
{
    setProgram(program);
    setArguments({QStringLiteral("--mode"), QStringLiteral("Local")});
    setStandardOutputFile(nullDevice());
    restrictInheritance();
    connect(this, &QProcess::started, this, [this] { m_startedId = processId(); });
    connect(this, &QProcess::readyReadStandardError, this, [this] { keepLastOutput(); });
    connect(this, qOverload<int, ExitStatus>(&QProcess::finished), this, [this](int exitCode, ExitStatus status) {
        keepLastOutput();
        const DeviceEnd end = takeEnd(exitCode, status);
        close(); // frees the pipes and the buffers; the object itself stays
        if (const auto tell = std::exchange(m_ended, {}))
            tell(end);
    });
}

void DeviceProcess::keepLastOutput()
{
    constexpr int kMostBytes = 1024;
    m_lastOutput = (m_lastOutput + readAllStandardError()).right(kMostBytes);
}

DeviceEnd DeviceProcess::takeEnd(int exitCode, ExitStatus status)
{
    const QByteArray output = std::exchange(m_lastOutput, {}).trimmed();
    const DeviceEnd end{status == CrashExit, exitCode,
                        shownText(QString::fromUtf8(output.mid(output.lastIndexOf('\n') + 1)))};
    const char* how = end.isCrash ? "crashed or was killed, exit code" : "ended, exit code";
    qCInfo(devicesLog).noquote() << "Device process" << m_startedId << how << exitCode << end.lastLine;
    return end;
}

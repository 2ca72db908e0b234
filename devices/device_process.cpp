#include "devices/device_process.h"

#include "devices/log.h"
#include "runtime/shown_text.h"

#include <utility>

DeviceProcess::DeviceProcess(const QString& program, std::function<void()> ended) : m_ended(std::move(ended))
{
    setProgram(program);
    setArguments({QStringLiteral("--mode"), QStringLiteral("Local")});
    setStandardOutputFile(nullDevice());
    restrictInheritance();
    connect(this, &QProcess::started, this, [this] { m_startedId = processId(); });
    connect(this, &QProcess::readyReadStandardError, this, [this] { keepLastOutput(); });
    connect(this, qOverload<int, ExitStatus>(&QProcess::finished), this, [this](int exitCode, ExitStatus status) {
        keepLastOutput();
        logEnd(exitCode, status);
        close(); // frees the pipes and the buffers; the object itself stays
        m_lastOutput = QByteArray();
        if (const auto tell = std::exchange(m_ended, {}))
            tell();
    });
}

void DeviceProcess::keepLastOutput()
{
    constexpr int kMostBytes = 1024;
    m_lastOutput = (m_lastOutput + readAllStandardError()).right(kMostBytes);
}

void DeviceProcess::logEnd(int exitCode, ExitStatus status) const
{
    const QByteArray output = m_lastOutput.trimmed();
    const QString lastLine = shownText(QString::fromUtf8(output.mid(output.lastIndexOf('\n') + 1)));
    const char* how = status == CrashExit ? "crashed or was killed, exit code" : "ended, exit code";
    qCInfo(devicesLog).noquote() << "Device process" << m_startedId << how << exitCode << lastLine;
}

#include "devices/device_process.h"

DeviceProcess::DeviceProcess(const QString& program)
{
    setProgram(program);
    setArguments({QStringLiteral("--mode"), QStringLiteral("Local")});
    setStandardOutputFile(nullDevice());
    setStandardErrorFile(nullDevice());
    restrictInheritance();
    // Frees the pipe and the buffers; the object itself stays.
    connect(this, qOverload<int, ExitStatus>(&QProcess::finished), this, [this] { close(); });
}

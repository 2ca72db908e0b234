// scaler_commands.h: the text commands that edit a picture's placement.
#pragma once

#include "media/placement.h"

#include <QString>

#include <functional>

/// The switch of whoever receives the commands: whether it sends back what it gets.
struct EchoSwitch
{
    std::function<bool()> isEnabled;
    std::function<void(bool)> setEnabled;
};

/// One line in, one reply out ("OK: ..." or "ERROR: ..."). Used by one thread at a time; needs no socket.
class ScalerCommands
{
public:
    /// `placement` outlives this object. `outputFormat` is FFmpeg's number of the scaler's target pixel format.
    ScalerCommands(PlacementState& placement, int outputFormat) : m_placement(placement), m_outputFormat(outputFormat)
    {}

    /// Carries a command line out. An empty line repeats the line before it.
    QString interpret(const QString& line, const EchoSwitch& echo);

private:
    QString run(const QString& line, const EchoSwitch& echo);

    PlacementState& m_placement;
    const int m_outputFormat;
    QString m_previous;
};

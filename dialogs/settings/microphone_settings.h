// microphone_settings.h: what the user chose for a microphone, and the values that a device is created with.
#pragma once

#include "dialogs/settings/network_source.h"
#include "dialogs/settings/setting_rules.h"

#include <QStringList>

/// The defaults are what the dialog starts with.
struct MicrophoneSettings
{
    /// A field that keeps an audio file's settings from being accepted.
    enum class Fault
    {
        None,
        Vid,
        Pid,
        DeviceName,
        Path
    };

    QString vid = QStringLiteral("1d6b");
    QString pid = QStringLiteral("0002");
    QString deviceName = QStringLiteral("USB Microphone");
    QString usbVersion = QStringLiteral("0");   ///< "0" for USB 2.0, "1" for USB 3.0
    QString uacVersion = QStringLiteral("1.0"); ///< "1.0" or "2.0"
    bool realTime = false;
    bool isNetwork = false;
    QString path = QStringLiteral("test_audio.wav");
    NetworkSource network;
    int channels = 2;
    int sampleRate = 48000; ///< Hz
    bool loop = true;

    /// The path, or the URL of the stream that the device plays.
    QString source() const;
    /// The stream that the test opens: the same server offers it in another format than source() names.
    QString testedUrl() const { return network.url(QStringLiteral("audio.opus")); }

    /// The creation parameter list.
    QStringList parameterList() const;

    /// The first wrong field. Nothing is checked for a source in the network.
    Fault findFault() const;
};

/// What the user is told about a fault.
QString textOf(MicrophoneSettings::Fault fault);

/// Rates in Hz that go with that many channels.
QStringList microphoneSampleRates(int channels);
constexpr int kMostMicrophoneChannels = 8;
constexpr int kDefaultMicrophoneRate = 48000;

/// Of microphoneSettingsFrom(), in the order in which they take effect.
QStringList microphoneSettingNames();

/// Settings of a script's NAME=VALUE texts over the defaults, checked like the dialog's fields. "address" and "port"
/// choose the source in the network. A file need not exist. Nothing is opened.
SettingsReading<MicrophoneSettings> microphoneSettingsFrom(const QStringList& assignments);

/// NAME=VALUE texts from which microphoneSettingsFrom() makes the same settings, as far as it would accept them.
QStringList microphoneAssignments(const MicrophoneSettings& settings);

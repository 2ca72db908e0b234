// keyboard.h: a boot keyboard of 104 keys that types what commands say.
#pragma once

#include "emulation/hid/hid_function.h"
#include "emulation/hid/us_layout.h"

#include <QVector>

namespace hid {

/// Commands: `type TEXT`, `key ctrl+alt+delete`, `hold KEYS`, `release [KEYS]`. Each is answered once its reports are
/// queued; status() tells how many the host has not fetched yet.
class Keyboard final : public HidFunction
{
public:
    static constexpr int kKeys = 104;

    explicit Keyboard(usb::DeviceDescriptors identity);

    QString run(const QString& command) override;
    QString status() const override;

    static QByteArray reportDescriptor();

private:
    void forgetState() override;
    void takeOutput(const QByteArray& report) override { m_leds = std::uint8_t(report[0]); }
    QByteArray outputState() const override { return QByteArray(1, char(m_leds)); }

    /// Types each character with a key of its own, all of the text or nothing.
    QString type(const QString& text);
    QString press(const QVector<std::uint8_t>& keys);
    QString hold(const QVector<std::uint8_t>& keys);
    QString release(const QVector<std::uint8_t>& keys);
    /// What is held, and `keys` besides.
    QByteArray report(const QVector<std::uint8_t>& keys = {}) const;
    void append(const QByteArray& report) { input().append(report, report); }

    QVector<std::uint8_t> m_held; ///< in the order in which they were pressed
    std::uint8_t m_leds = 0;      ///< bit 0: the LED with usage 1, Num Lock
};

} // namespace hid

// mouse.h: a boot mouse that moves as commands say: relative, with five buttons and a wheel.
#pragma once

#include "emulation/hid/hid_function.h"

namespace hid {

/// Commands: `move X Y`, `click BUTTON`, `wheel N`, `hold BUTTON`, `release [BUTTON]`. Each is answered once its
/// reports are queued; status() tells how many the host has not fetched yet.
class Mouse final : public HidFunction
{
public:
    explicit Mouse(usb::DeviceDescriptors identity);

    QString run(const QString& command) override;
    QString status() const override;

    static QByteArray reportDescriptor();

private:
    void forgetState() override { m_buttons = 0; }

    /// A straight way of as many reports as it takes.
    QString travel(int x, int y, int wheel);
    QString click(std::uint8_t button);
    QString press(std::uint8_t buttons);
    void append(int x, int y, int wheel);

    std::uint8_t m_buttons = 0; ///< bit 0: the left one
};

} // namespace hid

// processing_unit.h: the controls of a camera's picture (UVC 1.5, 4.2.2.3), and what they do to raw pictures.
#pragma once

#include "emulation/video/streaming_control.h"

#include <QByteArray>

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace uvc {

/// Raw pictures have brightness, contrast and saturation, which cost nothing until they are changed. Compressed ones
/// would have to be decoded for that, so they have only what every camera may have: the power line's frequency, which
/// is kept and changes nothing, since no source here flickers.
class ProcessingUnit
{
public:
    /// Since UVC 1.5 the power line's frequency may also be found out by the camera itself.
    ProcessingUnit(bool isRaw, bool findsFrequency);

    /// Bits of bmControls.
    std::uint32_t controls() const;

    /// The answer to a GET request for a selector; nothing when there is no such control or request.
    std::optional<QByteArray> get(std::uint8_t request, std::uint8_t selector) const;
    bool knows(std::uint8_t selector) const { return find(selector) != nullptr; }
    /// False when the value is out of range, or the bytes are none of the control.
    bool set(std::uint8_t selector, const QByteArray& bytes);

    /// All values as after power-on.
    void reset();

    /// Applies the values to a picture of 8-bit 4:2:0 planes without padding: luma, then both chroma planes in either
    /// layout.
    void apply(std::vector<std::uint8_t>& picture, int width, int height) const;

private:
    struct Control
    {
        std::uint8_t selector;
        int bit;  ///< of bmControls
        int size; ///< bytes of a value
        int least;
        int greatest;
        int preset;
        int value;
    };

    const Control* find(std::uint8_t selector) const;
    int valueOf(std::uint8_t selector) const;
    void makeTables();

    std::vector<Control> m_controls;
    bool m_isChanged = false;
    std::array<std::uint8_t, 256> m_luma{};
    std::array<std::uint8_t, 256> m_chroma{};
};

} // namespace uvc

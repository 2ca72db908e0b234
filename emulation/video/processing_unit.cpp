#include "emulation/video/processing_unit.h"

#include <QtEndian>

#include <algorithm>

namespace uvc {

namespace {

enum Selector : std::uint8_t
{
    Brightness = 0x02,
    Contrast = 0x03,
    PowerLineFrequency = 0x05,
    Saturation = 0x07
};

constexpr int kUnchanged = 64; // contrast and saturation that leave a picture as it is
constexpr int kBlack = 16;     // luma of limited range
constexpr int kGrey = 128;     // of both, halfway

std::uint8_t cut(int value)
{
    return std::uint8_t(std::clamp(value, 0, 255));
}

QByteArray bytesOf(int value, int size)
{
    QByteArray bytes(2, '\0');
    qToLittleEndian(std::int16_t(value), bytes.data());
    return bytes.left(size);
}

void translate(std::uint8_t* begin, std::uint8_t* end, const std::array<std::uint8_t, 256>& table)
{
    std::transform(begin, end, begin, [&table](std::uint8_t value) { return table[value]; });
}

} // namespace

ProcessingUnit::ProcessingUnit(bool isRaw, bool findsFrequency)
    : m_controls{{PowerLineFrequency, 10, 1, 0, findsFrequency ? 3 : 2, 1, 1}}
{
    if (isRaw)
        m_controls.insert(m_controls.begin(), {{Brightness, 0, 2, -127, 127, 0, 0},
                                               {Contrast, 1, 2, 0, 255, kUnchanged, kUnchanged},
                                               {Saturation, 3, 2, 0, 255, kUnchanged, kUnchanged}});
}

std::uint32_t ProcessingUnit::controls() const
{
    std::uint32_t bits = 0;
    for (const Control& control : m_controls)
        bits |= 1U << control.bit;
    return bits;
}

const ProcessingUnit::Control* ProcessingUnit::find(std::uint8_t selector) const
{
    const auto found = std::find_if(m_controls.begin(), m_controls.end(),
                                    [selector](const Control& control) { return control.selector == selector; });
    return found == m_controls.end() ? nullptr : &*found;
}

int ProcessingUnit::valueOf(std::uint8_t selector) const
{
    return find(selector)->value;
}

std::optional<QByteArray> ProcessingUnit::get(std::uint8_t request, std::uint8_t selector) const
{
    const Control* control = find(selector);
    if (!control)
        return std::nullopt;
    constexpr char kGetAndSet = 3;
    const bool isChoice = selector == PowerLineFrequency; // has neither ends nor steps
    switch (request) {
    case GetCur:
        return bytesOf(control->value, control->size);
    case GetDef:
        return bytesOf(control->preset, control->size);
    case GetMin:
        return isChoice ? std::nullopt : std::optional(bytesOf(control->least, control->size));
    case GetMax:
        return isChoice ? std::nullopt : std::optional(bytesOf(control->greatest, control->size));
    case GetRes:
        return isChoice ? std::nullopt : std::optional(bytesOf(1, control->size));
    case GetLen:
        return bytesOf(control->size, 2);
    case GetInfo:
        return QByteArray(1, kGetAndSet);
    default:
        return std::nullopt;
    }
}

bool ProcessingUnit::set(std::uint8_t selector, const QByteArray& bytes)
{
    auto* control = const_cast<Control*>(find(selector));
    if (!control || bytes.size() != control->size)
        return false;
    const int value = control->size == 1 ? std::uint8_t(bytes[0]) : qFromLittleEndian<std::int16_t>(bytes.constData());
    if (value < control->least || value > control->greatest)
        return false;
    control->value = value;
    makeTables();
    return true;
}

void ProcessingUnit::reset()
{
    for (Control& control : m_controls)
        control.value = control.preset;
    m_isChanged = false;
}

void ProcessingUnit::makeTables()
{
    if (!find(Brightness))
        return;
    const int brightness = valueOf(Brightness);
    const int contrast = valueOf(Contrast);
    const int saturation = valueOf(Saturation);
    m_isChanged = brightness != 0 || contrast != kUnchanged || saturation != kUnchanged;
    for (int value = 0; value < 256; ++value) {
        m_luma[std::size_t(value)] = cut((value - kBlack) * contrast / kUnchanged + kBlack + brightness);
        m_chroma[std::size_t(value)] = cut((value - kGrey) * saturation / kUnchanged + kGrey);
    }
}

void ProcessingUnit::apply(std::vector<std::uint8_t>& picture, int width, int height) const
{
    if (!m_isChanged)
        return;
    const std::size_t luma = std::min(picture.size(), std::size_t(width) * std::size_t(height));
    translate(picture.data(), picture.data() + luma, m_luma);
    translate(picture.data() + luma, picture.data() + picture.size(), m_chroma);
}

} // namespace uvc

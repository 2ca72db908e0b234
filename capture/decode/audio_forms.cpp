#include "capture/decode/descriptor_forms.h"

namespace {

using enum FieldForm;
using enum FieldRepeat;

constexpr NamedNumber kTerminals[] = {
    {0x0100, "USB undefined"},
    {0x0101, "USB streaming"},
    {0x0200, "input undefined"},
    {0x0201, "microphone"},
    {0x0202, "desktop microphone"},
    {0x0203, "personal microphone"},
    {0x0204, "omni-directional microphone"},
    {0x0205, "microphone array"},
    {0x0300, "output undefined"},
    {0x0301, "speaker"},
    {0x0302, "headphones"},
    {0x0304, "desktop speaker"},
    {0x0402, "headset"},
    {0x0603, "line connector"},
};
constexpr NamedNumber kFormats[] = {{0, "undefined"},  {1, "PCM"},   {2, "PCM8"},
                                    {3, "IEEE float"}, {4, "A-law"}, {5, "mu-law"}};
constexpr NamedNumber kFormatTypes[] = {{1, "FORMAT_TYPE_I"}, {2, "FORMAT_TYPE_II"}, {3, "FORMAT_TYPE_III"}};

// Audio 1.0
constexpr Field kHeader1[] = {
    {"bcdADC", 2, Version},
    {"wTotalLength", 2},
    {"bInCollection", 1, Count},
    {"baInterfaceNr", 1, Decimal, nullptr, Counted},
};
constexpr Field kInputTerminal1[] = {
    {"bTerminalID", 1},         {"wTerminalType", 2, Hex, nameIn<kTerminals>},
    {"bAssocTerminal", 1},      {"bNrChannels", 1},
    {"wChannelConfig", 2, Hex}, {"iChannelNames", 1},
    {"iTerminal", 1},
};
constexpr Field kOutputTerminal1[] = {
    {"bTerminalID", 1}, {"wTerminalType", 2, Hex, nameIn<kTerminals>}, {"bAssocTerminal", 1}, {"bSourceID", 1},
    {"iTerminal", 1},
};
constexpr Field kMixer[] = {
    {"bUnitID", 1},
    {"bNrInPins", 1, Count},
    {"baSourceID", 1, Decimal, nullptr, Counted},
    {"bNrChannels", 1},
    {"wChannelConfig", 2, Hex},
    {"iChannelNames", 1},
    {"bmControls", 1, Hex, nullptr, ToEnd},
    {"iMixer", 1},
};
constexpr Field kSelector1[] = {
    {"bUnitID", 1},
    {"bNrInPins", 1, Count},
    {"baSourceID", 1, Decimal, nullptr, Counted},
    {"iSelector", 1},
};
constexpr Field kFeature1[] = {
    {"bUnitID", 1},  {"bSourceID", 1}, {"bControlSize", 1, Count}, {"bmaControls", 0, Bytes, nullptr, Sized},
    {"iFeature", 1},
};
constexpr Field kProcessing1[] = {
    {"bUnitID", 1},
    {"wProcessType", 2, Hex},
    {"bNrInPins", 1, Count},
    {"baSourceID", 1, Decimal, nullptr, Counted},
    {"bNrChannels", 1},
    {"wChannelConfig", 2, Hex},
    {"iChannelNames", 1},
    {"bControlSize", 1, Count},
    {"bmControls", 0, Bytes, nullptr, SizedOnce},
    {"iProcessing", 1},
};
constexpr DescriptorForm kControl1[] = {
    {1, "Audio Control Header", kHeader1},          {2, "Audio Input Terminal", kInputTerminal1},
    {3, "Audio Output Terminal", kOutputTerminal1}, {4, "Audio Mixer Unit", kMixer},
    {5, "Audio Selector Unit", kSelector1},         {6, "Audio Feature Unit", kFeature1},
    {7, "Audio Processing Unit", kProcessing1},     {8, "Audio Extension Unit", kProcessing1},
};
constexpr Field kGeneral1[] = {{"bTerminalLink", 1}, {"bDelay", 1}, {"wFormatTag", 2, Hex, nameIn<kFormats>}};
constexpr Field kFormatType1[] = {
    {"bFormatType", 1, Decimal, nameIn<kFormatTypes>},
    {"bNrChannels", 1},
    {"bSubframeSize", 1},
    {"bBitResolution", 1},
    {"bSamFreqType", 1, Count},
    {"tSamFreq", 3, Decimal, nullptr, Range},
};
constexpr DescriptorForm kStreaming1[] = {
    {1, "Audio Streaming General", kGeneral1},
    {2, "Audio Format Type", kFormatType1},
};
constexpr Field kEndpoint1[] = {{"bmAttributes", 1, Hex}, {"bLockDelayUnits", 1}, {"wLockDelay", 2}};
constexpr DescriptorForm kEndpoints1[] = {{1, "Audio Streaming Endpoint", kEndpoint1}};

// Audio 2.0
constexpr Field kHeader2[] = {
    {"bcdADC", 2, Version}, {"bCategory", 1, Hex}, {"wTotalLength", 2}, {"bmControls", 1, Hex}};
constexpr Field kInputTerminal2[] = {
    {"bTerminalID", 1},    {"wTerminalType", 2, Hex, nameIn<kTerminals>},
    {"bAssocTerminal", 1}, {"bCSourceID", 1},
    {"bNrChannels", 1},    {"bmChannelConfig", 4, Hex},
    {"iChannelNames", 1},  {"bmControls", 2, Hex},
    {"iTerminal", 1},
};
constexpr Field kOutputTerminal2[] = {
    {"bTerminalID", 1},    {"wTerminalType", 2, Hex, nameIn<kTerminals>},
    {"bAssocTerminal", 1}, {"bSourceID", 1},
    {"bCSourceID", 1},     {"bmControls", 2, Hex},
    {"iTerminal", 1},
};
constexpr Field kSelector2[] = {
    {"bUnitID", 1},         {"bNrInPins", 1, Count}, {"baSourceID", 1, Decimal, nullptr, Counted},
    {"bmControls", 1, Hex}, {"iSelector", 1},
};
constexpr Field kFeature2[] = {
    {"bUnitID", 1},
    {"bSourceID", 1},
    {"bmaControls", 4, Hex, nullptr, ToEnd},
    {"iFeature", 1},
};
constexpr Field kClockSource[] = {
    {"bClockID", 1}, {"bmAttributes", 1, Hex}, {"bmControls", 1, Hex}, {"bAssocTerminal", 1}, {"iClockSource", 1},
};
constexpr Field kClockSelector[] = {
    {"bClockID", 1},        {"bNrInPins", 1, Count}, {"baCSourceID", 1, Decimal, nullptr, Counted},
    {"bmControls", 1, Hex}, {"iClockSelector", 1},
};
constexpr Field kClockMultiplier[] = {
    {"bClockID", 1},
    {"bCSourceID", 1},
    {"bmControls", 1, Hex},
    {"iClockMultiplier", 1},
};
constexpr DescriptorForm kControl2[] = {
    {1, "Audio Control Header", kHeader2},          {2, "Audio Input Terminal", kInputTerminal2},
    {3, "Audio Output Terminal", kOutputTerminal2}, {5, "Audio Selector Unit", kSelector2},
    {6, "Audio Feature Unit", kFeature2},           {10, "Audio Clock Source", kClockSource},
    {11, "Audio Clock Selector", kClockSelector},   {12, "Audio Clock Multiplier", kClockMultiplier},
};
constexpr Field kGeneral2[] = {
    {"bTerminalLink", 1},  {"bmControls", 1, Hex}, {"bFormatType", 1, Decimal, nameIn<kFormatTypes>},
    {"bmFormats", 4, Hex}, {"bNrChannels", 1},     {"bmChannelConfig", 4, Hex},
    {"iChannelNames", 1},
};
constexpr Field kFormatType2[] = {
    {"bFormatType", 1, Decimal, nameIn<kFormatTypes>},
    {"bSubslotSize", 1},
    {"bBitResolution", 1},
};
constexpr DescriptorForm kStreaming2[] = {
    {1, "Audio Streaming General", kGeneral2},
    {2, "Audio Format Type", kFormatType2},
};
constexpr Field kEndpoint2[] = {
    {"bmAttributes", 1, Hex},
    {"bmControls", 1, Hex},
    {"bLockDelayUnits", 1},
    {"wLockDelay", 2},
};
constexpr DescriptorForm kEndpoints2[] = {{1, "Audio Streaming Endpoint", kEndpoint2}};

} // namespace

const DescriptorForm* audioForm(std::uint8_t type, std::uint8_t subtype, const InterfaceKind& interface)
{
    const bool second = interface.protocol == usb_class::kAudioVersion2;
    if (interface.subclass == usb_class::AudioControl && type == descriptor_type::ClassInterface)
        return second ? formIn(kControl2, subtype) : formIn(kControl1, subtype);
    if (interface.subclass != usb_class::AudioStreaming)
        return nullptr;
    if (type == descriptor_type::ClassEndpoint)
        return second ? formIn(kEndpoints2, subtype) : formIn(kEndpoints1, subtype);
    return second ? formIn(kStreaming2, subtype) : formIn(kStreaming1, subtype);
}

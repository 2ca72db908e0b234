#include "capture/decode/descriptor_forms.h"

namespace {

using enum FieldForm;
using enum FieldRepeat;

constexpr NamedNumber kTerminals[] = {
    {0x0100, "vendor specific"}, {0x0101, "USB streaming"},   {0x0200, "vendor specific input"},
    {0x0201, "camera"},          {0x0202, "media transport"}, {0x0300, "vendor specific output"},
    {0x0301, "display"},         {0x0302, "media transport"}, {0x0400, "external vendor specific"},
    {0x0401, "composite"},       {0x0402, "S-Video"},         {0x0403, "component"},
};
constexpr NamedNumber kPrimaries[] = {
    {1, "BT.709, sRGB"}, {2, "BT.470-2 M"}, {3, "BT.470-2 B, G"}, {4, "SMPTE 170M"}, {5, "SMPTE 240M"},
};
constexpr NamedNumber kTransfers[] = {
    {1, "BT.709"},     {2, "BT.470-2 M"}, {3, "BT.470-2 B, G"}, {4, "SMPTE 170M"},
    {5, "SMPTE 240M"}, {6, "linear"},     {7, "sRGB"},
};
constexpr NamedNumber kMatrices[] = {
    {1, "BT.709"}, {2, "FCC"}, {3, "BT.470-2 B, G"}, {4, "SMPTE 170M, BT.601"}, {5, "SMPTE 240M"},
};

constexpr Field kHeader[] = {
    {"bcdUVC", 2, Version},
    {"wTotalLength", 2},
    {"dwClockFrequency", 4},
    {"bInCollection", 1, Count},
    {"baInterfaceNr", 1, Decimal, nullptr, Counted},
};
constexpr Field kInputTerminal[] = {
    {"bTerminalID", 1},
    {"wTerminalType", 2, Hex, nameIn<kTerminals>},
    {"bAssocTerminal", 1},
    {"iTerminal", 1},
    {"wObjectiveFocalLengthMin", 2},
    {"wObjectiveFocalLengthMax", 2},
    {"wOcularFocalLength", 2},
    {"bControlSize", 1, Count},
    {"bmControls", 0, Bytes, nullptr, SizedOnce},
};
constexpr Field kOutputTerminal[] = {
    {"bTerminalID", 1}, {"wTerminalType", 2, Hex, nameIn<kTerminals>}, {"bAssocTerminal", 1}, {"bSourceID", 1},
    {"iTerminal", 1},
};
constexpr Field kSelector[] = {
    {"bUnitID", 1},
    {"bNrInPins", 1, Count},
    {"baSourceID", 1, Decimal, nullptr, Counted},
    {"iSelector", 1},
};
constexpr Field kProcessing[] = {
    {"bUnitID", 1},
    {"bSourceID", 1},
    {"wMaxMultiplier", 2},
    {"bControlSize", 1, Count},
    {"bmControls", 0, Bytes, nullptr, SizedOnce},
    {"iProcessing", 1},
    {"bmVideoStandards", 1, Hex},
};
constexpr Field kExtension[] = {
    {"bUnitID", 1},
    {"guidExtensionCode", 16, Bytes},
    {"bNumControls", 1},
    {"bNrInPins", 1, Count},
    {"baSourceID", 1, Decimal, nullptr, Counted},
    {"bControlSize", 1, Count},
    {"bmControls", 0, Bytes, nullptr, SizedOnce},
    {"iExtension", 1},
};
constexpr Field kEncoding[] = {
    {"bUnitID", 1},
    {"bSourceID", 1},
    {"iEncoding", 1},
    {"bControlSize", 1, Count},
    {"bmControls", 0, Bytes, nullptr, SizedOnce},
    {"bmControlsRuntime", 0, Bytes, nullptr, SizedOnce},
};
constexpr DescriptorForm kControl[] = {
    {1, "Video Control Header", kHeader},          {2, "Video Input Terminal", kInputTerminal},
    {3, "Video Output Terminal", kOutputTerminal}, {4, "Video Selector Unit", kSelector},
    {5, "Video Processing Unit", kProcessing},     {6, "Video Extension Unit", kExtension},
    {7, "Video Encoding Unit", kEncoding},
};

constexpr Field kInputHeader[] = {
    {"bNumFormats", 1},
    {"wTotalLength", 2},
    {"bEndpointAddress", 1, Address},
    {"bmInfo", 1, Hex},
    {"bTerminalLink", 1},
    {"bStillCaptureMethod", 1},
    {"bTriggerSupport", 1},
    {"bTriggerUsage", 1},
    {"bControlSize", 1, Count},
    {"bmaControls", 0, Bytes, nullptr, Sized},
};
constexpr Field kOutputHeader[] = {
    {"bNumFormats", 1},   {"wTotalLength", 2},        {"bEndpointAddress", 1, Address},
    {"bTerminalLink", 1}, {"bControlSize", 1, Count}, {"bmaControls", 0, Bytes, nullptr, Sized},
};
constexpr Field kStillImage[] = {
    {"bEndpointAddress", 1, Address},
    {"bNumImageSizePatterns", 1, Count},
    {"wWidth x wHeight", 4, Extent, nullptr, Counted},
    {"bNumCompressionPattern", 1, Count},
    {"bCompression", 1, Decimal, nullptr, Counted},
};
constexpr Field kUncompressedFormat[] = {
    {"bFormatIndex", 1},       {"bNumFrameDescriptors", 1}, {"guidFormat", 16, FourCode}, {"bBitsPerPixel", 1},
    {"bDefaultFrameIndex", 1}, {"bAspectRatioX", 1},        {"bAspectRatioY", 1},         {"bmInterlaceFlags", 1, Hex},
    {"bCopyProtect", 1},       {"bVariableSize", 1},
};
constexpr Field kMotionJpegFormat[] = {
    {"bFormatIndex", 1},  {"bNumFrameDescriptors", 1}, {"bmFlags", 1, Hex},          {"bDefaultFrameIndex", 1},
    {"bAspectRatioX", 1}, {"bAspectRatioY", 1},        {"bmInterlaceFlags", 1, Hex}, {"bCopyProtect", 1},
};
constexpr Field kFrame[] = {
    {"bFrameIndex", 1},
    {"bmCapabilities", 1, Hex},
    {"wWidth x wHeight", 4, Extent},
    {"dwMinBitRate", 4},
    {"dwMaxBitRate", 4},
    {"dwMaxVideoFrameBufferSize", 4},
    {"dwDefaultFrameInterval", 4},
    {"bFrameIntervalType", 1, Count},
    {"dwFrameInterval", 4, Decimal, nullptr, Range},
};
constexpr Field kFrameBasedFrame[] = {
    {"bFrameIndex", 1},
    {"bmCapabilities", 1, Hex},
    {"wWidth x wHeight", 4, Extent},
    {"dwMinBitRate", 4},
    {"dwMaxBitRate", 4},
    {"dwDefaultFrameInterval", 4},
    {"bFrameIntervalType", 1, Count},
    {"dwBytesPerLine", 4},
    {"dwFrameInterval", 4, Decimal, nullptr, Range},
};
constexpr Field kH264Format[] = {
    {"bFormatIndex", 1},
    {"bNumFrameDescriptors", 1},
    {"bDefaultFrameIndex", 1},
    {"bMaxCodecConfigDelay", 1},
    {"bmSupportedSliceModes", 1, Hex},
    {"bmSupportedSyncFrameTypes", 1, Hex},
    {"bResolutionScaling", 1},
    {"Reserved1", 1},
    {"bmSupportedRateControlModes", 1, Hex},
    {"wMaxMBperSecOneResolutionNoScalability", 2},
    {"wMaxMBperSecTwoResolutionsNoScalability", 2},
    {"wMaxMBperSecThreeResolutionsNoScalability", 2},
    {"wMaxMBperSecFourResolutionsNoScalability", 2},
    {"wMaxMBperSecOneResolutionTemporalScalability", 2},
    {"wMaxMBperSecTwoResolutionsTemporalScalability", 2},
    {"wMaxMBperSecThreeResolutionsTemporalScalability", 2},
    {"wMaxMBperSecFourResolutionsTemporalScalability", 2},
    {"wMaxMBperSecOneResolutionTemporalQualityScalability", 2},
    {"wMaxMBperSecTwoResolutionsTemporalQualityScalability", 2},
    {"wMaxMBperSecThreeResolutionsTemporalQualityScalability", 2},
    {"wMaxMBperSecFourResolutionsTemporalQualityScalability", 2},
    {"wMaxMBperSecOneResolutionTemporalSpatialScalability", 2},
    {"wMaxMBperSecTwoResolutionsTemporalSpatialScalability", 2},
    {"wMaxMBperSecThreeResolutionsTemporalSpatialScalability", 2},
    {"wMaxMBperSecFourResolutionsTemporalSpatialScalability", 2},
    {"wMaxMBperSecOneResolutionFullScalability", 2},
    {"wMaxMBperSecTwoResolutionsFullScalability", 2},
    {"wMaxMBperSecThreeResolutionsFullScalability", 2},
    {"wMaxMBperSecFourResolutionsFullScalability", 2},
};
constexpr Field kH264Frame[] = {
    {"bFrameIndex", 1},
    {"wWidth x wHeight", 4, Extent},
    {"wSARwidth x wSARheight", 4, Extent},
    {"wProfile", 2, Hex},
    {"bLevelIDC", 1},
    {"wConstrainedToolset", 2, Hex},
    {"bmSupportedUsages", 4, Hex},
    {"bmCapabilities", 2, Hex},
    {"bmSVCCapabilities", 4, Hex},
    {"bmMVCCapabilities", 4, Hex},
    {"dwMinBitRate", 4},
    {"dwMaxBitRate", 4},
    {"dwDefaultFrameInterval", 4},
    {"bNumFrameIntervals", 1, Count},
    {"dwFrameInterval", 4, Decimal, nullptr, Counted},
};
constexpr Field kVp8Format[] = {
    {"bFormatIndex", 1},
    {"bNumFrameDescriptors", 1},
    {"bDefaultFrameIndex", 1},
    {"bMaxCodecConfigDelay", 1},
    {"bSupportedPartitionCount", 1},
    {"bmSupportedSyncFrameTypes", 1, Hex},
    {"bResolutionScaling", 1},
    {"bmSupportedRateControlModes", 1, Hex},
    {"wMaxMBperSec", 2},
};
constexpr Field kVp8Frame[] = {
    {"bFrameIndex", 1},
    {"wWidth x wHeight", 4, Extent},
    {"bmSupportedUsages", 4, Hex},
    {"bmCapabilities", 2, Hex},
    {"bmScalabilityCapabilities", 4, Hex},
    {"dwMinBitRate", 4},
    {"dwMaxBitRate", 4},
    {"dwDefaultFrameInterval", 4},
    {"bNumFrameIntervals", 1, Count},
    {"dwFrameInterval", 4, Decimal, nullptr, Counted},
};
constexpr Field kTransportStream[] = {
    {"bFormatIndex", 1},
    {"bDataOffset", 1},
    {"bPacketLength", 1},
    {"bStrideLength", 1},
    {"guidStrideFormat", 16, Bytes},
};
constexpr Field kDigitalVideo[] = {{"bFormatIndex", 1}, {"dwMaxVideoFrameBufferSize", 4}, {"bFormatType", 1, Hex}};
constexpr Field kStreamBased[] = {{"bFormatIndex", 1}, {"guidFormat", 16, FourCode}, {"dwPacketLength", 4}};
constexpr Field kColours[] = {
    {"bColorPrimaries", 1, Decimal, nameIn<kPrimaries>},
    {"bTransferCharacteristics", 1, Decimal, nameIn<kTransfers>},
    {"bMatrixCoefficients", 1, Decimal, nameIn<kMatrices>},
};
constexpr DescriptorForm kStreaming[] = {
    {1, "Video Input Header", kInputHeader},
    {2, "Video Output Header", kOutputHeader},
    {3, "Still Image Frame", kStillImage},
    {4, "Uncompressed Format", kUncompressedFormat},
    {5, "Uncompressed Frame", kFrame},
    {6, "MJPEG Format", kMotionJpegFormat},
    {7, "MJPEG Frame", kFrame},
    {10, "MPEG-2 TS Format", kTransportStream},
    {12, "DV Format", kDigitalVideo},
    {13, "Color Matching", kColours},
    {16, "Frame Based Format", kUncompressedFormat},
    {17, "Frame Based Frame", kFrameBasedFrame},
    {18, "Stream Based Format", kStreamBased},
    {19, "H.264 Format", kH264Format},
    {20, "H.264 Frame", kH264Frame},
    {21, "H.264 Simulcast Format", kH264Format},
    {22, "VP8 Format", kVp8Format},
    {23, "VP8 Frame", kVp8Frame},
    {24, "VP8 Simulcast Format", kVp8Format},
};

constexpr Field kInterrupt[] = {{"wMaxTransferSize", 2}};
constexpr DescriptorForm kEndpoints[] = {{3, "Video Interrupt Endpoint", kInterrupt}};

} // namespace

const DescriptorForm* videoForm(std::uint8_t type, std::uint8_t subtype, const InterfaceKind& interface)
{
    if (type == descriptor_type::ClassEndpoint)
        return formIn(kEndpoints, subtype);
    if (interface.subclass == usb_class::VideoControl)
        return formIn(kControl, subtype);
    return interface.subclass == usb_class::VideoStreaming ? formIn(kStreaming, subtype) : nullptr;
}

// av_scaler.h: brings pictures to the target size and pixel format, and answers the commands that place them.
#pragma once

#include "media/av_source_sink.h"
#include "media/placement.h"
#include "media/scaler_commands.h"

#include <QString>

#include <chrono>
#include <functional>
#include <memory>
#include <thread>

struct CmdServerLink;

struct ScalerSettings
{
    /// Name of the command server that the scaler starts; empty: none.
    QString serverName = QStringLiteral("CmdServer");

    /// Blocks the calling thread; gives the server time to come up.
    std::function<void(std::chrono::milliseconds)> sleep = [](std::chrono::milliseconds time) {
        std::this_thread::sleep_for(time);
    };

    /// Pictures are shown where the commands put them. Off: they fill the target, and a scale mode holds for one frame.
    bool appliesPlacement = false;

    /// Where the commands put the picture, kept by the caller for the next scaler; null: it dies with this one.
    std::shared_ptr<PlacementState> placement;
};

/// Pictures that already fit pass through unchanged; others arrive downstream in one output picture that every frame
/// reuses. Odd targets lose nothing but the last column or row of a picture made one larger.
class AVScaler final : public AVSourceSink
{
public:
    /// Sizes in pixels; `targetFormat` is FFmpeg's number. Starts the command server that `settings` names. When the
    /// output picture cannot be made, frames are refused.
    AVScaler(int targetFormat, int targetWidth, int targetHeight, int scaleMode, const ScalerSettings& settings = {});
    ~AVScaler() override;

    bool pushFrame(AVFrame* frame) override;

    /// True when the server runs or has been asked to start; without it the scaler works without remote control.
    bool StartCommandServer(const QString& name);

    PlacementState& placement() { return *m_placement; }
    ScalerCommands& commands() { return m_commands; }

    /// Where the picture was put in the last frame.
    PictureArea pictureArea() const { return m_area; }

private:
    /// What a conversion context was made for.
    struct ConversionKey
    {
        int sourceWidth = 0;
        int sourceHeight = 0;
        int sourceFormat = -1;
        int width = 0;
        int height = 0;
        int format = -1;

        bool operator==(const ConversionKey&) const = default;
    };

    bool pushPlaced(AVFrame* frame);
    bool prepareOutput();
    bool prepareWorkFrame(int width, int height);
    bool convert(const AVFrame& frame, AVFrame& target);
    const AVFrame* alignedSource(const AVFrame& frame);
    bool refuseConversion(const AVFrame& frame);
    bool forwardOutput(const AVFrame& frame);

    const int m_targetFormat;
    const int m_targetWidth;
    const int m_targetHeight;
    const ScalerSettings m_settings;
    const std::shared_ptr<PlacementState> m_placement;
    ScalerCommands m_commands;
    std::shared_ptr<CmdServerLink> m_server;
    PictureArea m_area;
    ffmpeg::Frame m_output;
    ffmpeg::Frame m_work;
    ffmpeg::Frame m_aligned;
    ffmpeg::Scaler m_scaler;
    ConversionKey m_key;
};

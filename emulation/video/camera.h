// camera.h: a USB camera fed by a source (USB Video Class 1.0 and 1.5).
#pragma once

#include "emulation/channels/device_service.h"
#include "emulation/player/source_function.h"
#include "emulation/usb/isochronous_pacer.h"
#include "emulation/video/camera_feed.h"
#include "media/scaler_commands.h"

#include <deque>

namespace uvc {

/// Shows one format of one size at one rate, over one bulk or isochronous endpoint. Commands besides those of every
/// player: the picture commands (ImgX and the like), where the pictures are scaled and do not pass as they are.
class Camera final : public SourceFunction
{
public:
    /// `serverName`: of the picture commands' own server, which several cameras may not share.
    Camera(const usb::DeviceDescriptors& identity, const CameraSetup& setup, const QString& source, QString serverName);
    ~Camera() override;

    const usb::DeviceDescriptors& descriptors() const override { return m_descriptors; }
    void controlRequest(const usb::TransferPointer& transfer) override;
    void submit(const usb::TransferPointer& transfer) override;
    void cancelled(const usb::Transfer& transfer) override;
    void configurationSelected(std::uint8_t value) override;
    void alternateSelected(std::uint8_t interfaceNumber, std::uint8_t alternate) override;
    void haltCleared(std::uint8_t endpointAddress) override;
    void reset() override;

protected:
    VideoFileSettings playerSettings(const QString& source) const override;
    void sourceChanged() override;
    void pauseChanged() override { m_feed.setPaused(isPaused()); }
    QString runOther(const QString& command) override;
    QString deviceStatus() const override;

private:
    /// Why a request was refused last; what the request error code controls say.
    enum class RequestError : std::uint8_t
    {
        None = 0,
        OutOfRange = 4,
        InvalidUnit = 5,
        InvalidControl = 6,
        InvalidRequest = 7
    };

    void controlInterfaceRequest(const usb::TransferPointer& transfer);
    void streamingInterfaceRequest(const usb::TransferPointer& transfer);
    void streamingParameters(const usb::TransferPointer& transfer, bool isCommit);
    void setStreamingParameters(const usb::TransferPointer& transfer, bool isCommit);
    void answerErrorCode(const usb::TransferPointer& transfer, RequestError& error);
    void refuse(const usb::TransferPointer& transfer, RequestError& kept, RequestError error);

    void beginStream();
    void endStream();
    void pictureReady();
    bool nextPicture();
    void serveBulk();
    void serveIsochronous(const usb::TransferPointer& transfer);
    void countSent();
    int sentInLastSecond() const;

    const CameraSetup m_setup;
    const QString m_serverName;
    ProcessingUnit m_processing;
    usb::DeviceDescriptors m_descriptors;
    const std::shared_ptr<PlacementState> m_placement;
    ScalerCommands m_pictureCommands;
    CameraFeed m_feed;
    Payloads m_payloads;
    StreamingParameters m_offer; ///< the only parameters that there are
    RequestError m_controlError = RequestError::None;
    RequestError m_streamingError = RequestError::None;
    bool m_isCommitted = false;
    bool m_isStreaming = false;

    std::deque<usb::TransferPointer> m_bulk; ///< that wait for pictures
    PictureClock::Time m_lastSubmission;     ///< in bulk
    QByteArray m_payload;                    ///< in bulk: one that is not sent whole
    int m_payloadSent = 0;
    std::unique_ptr<usb::IsochronousPacer> m_pacer;

    std::int64_t m_sent = 0; ///< pictures sent whole
    std::deque<PictureClock::Time> m_sentTimes;
};

/// A fault is a sentence that says what the camera cannot show, and what it could.
Outcome<std::unique_ptr<DeviceFunction>> makeCamera(const usb::DeviceDescriptors& identity,
                                                    const DeviceContext& context);

} // namespace uvc

// sessions.h: the makers of the sessions of each type of device.
#pragma once

#include "tools/usb_daemon/sessions/device_session.h"

std::unique_ptr<DeviceSession> makeKeyboardSession(std::uint32_t deviceId);
std::unique_ptr<DeviceSession> makeMouseSession(std::uint32_t deviceId);
/// CTAPHID: channel set-up and an authenticator information request (CTAP 2.0, section 8.1).
std::unique_ptr<DeviceSession> makeFido2Session(std::uint32_t deviceId);
/// Bulk-Only Transport: reads boot sector, file table, directory and a file from a FAT32 volume.
std::unique_ptr<DeviceSession> makeStorageSession(std::uint32_t deviceId);
/// USB Video Class 1.0: negotiates 640 x 480 MJPEG at 30 frames/s and streams.
std::unique_ptr<DeviceSession> makeCameraSession(std::uint32_t deviceId);
/// USB Audio Class 1.0, 48 kHz stereo, 16 bits: a tone of 440 Hz.
std::unique_ptr<DeviceSession> makeMicrophoneSession(std::uint32_t deviceId);
std::unique_ptr<DeviceSession> makeSpeakerSession(std::uint32_t deviceId);
/// What a USB/IP server might export: a CDC ACM modem that answers "AT".
std::unique_ptr<DeviceSession> makeSerialSession(std::uint32_t deviceId);

// protocol_line.h: one line of text that says what a control transfer asks or answers.
#pragma once

#include "capture/channel/capture_types.h"

/// Requests: direction, type and recipient names, then the request (standard requests by USB 2.0 chapter 9, class and
/// vendor requests by the USB Video Class codes; a reserved type is shown like a class request). Empty when the setup
/// bytes are fewer than 8. Replies: status and actual length, the sixth and seventh words of the USB/IP header, where a
/// missing word counts as 0. Empty for all transfers but control.
QString protocolLine(const UsbIPPacketInfo& packet);

// one_write.h: how either end of a local channel gets a message that the other end wrote at once.
#pragma once

#include <QByteArray>

class QIODevice;

/// What the other end wrote at once, as far as `most` + 1 bytes; call it when there is something to read. A system
/// hands over a write of 4,096 bytes or more in pieces: they are put together until they make a JSON object, no further
/// one follows within 50 ms, or half a second is over, however the pieces are spaced. Blocks meanwhile, and the channel
/// may be found closed afterwards.
QByteArray readOneWrite(QIODevice& channel, qint64 most);

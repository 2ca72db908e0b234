// secrets.h: keeps secrets out of texts that are kept.
#pragma once

#include <QString>

/// `text` without what must not be kept, "***" in its place: user name, password and query of URLs, values of JSON
/// members and of NAME=VALUE pairs whose names speak of PINs, passwords, tokens, secrets or private keys, and PEM
/// blocks. A second line of defence: callers do not log secrets in the first place.
QString withoutSecrets(const QString& text);

/// What a log may tell of a media source: scheme and host of an address ("rtsp://camera:554"), "a file" or "nothing".
QString sourceForLog(const QString& source);

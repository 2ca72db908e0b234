// sources.h: files and streams that the tests let dialogs look at.
#pragma once

#include "tests/support/loopback_server.h"

#include <QFile>
#include <QMetaType>
#include <QUrl>

Q_DECLARE_METATYPE(LoopbackServer::Ending)

inline QString sourceFile(const char* name)
{
    return QStringLiteral(PLUGBOARD_SOURCE_FILES "/") + QString::fromLatin1(name);
}

inline QByteArray contentOf(const char* name)
{
    QFile file(sourceFile(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// What a camera in the network sends: pictures of 640 x 480, one after the other.
inline QByteArray pictureStream()
{
    const QByteArray picture = contentOf("vga.jpg");
    const QByteArray part =
        "--frame\r\nContent-Type: image/jpeg\r\nContent-Length: " + QByteArray::number(picture.size()) + "\r\n\r\n" +
        picture + "\r\n";
    return httpAnswer("multipart/x-mixed-replace;boundary=frame", part.repeated(10));
}

inline QByteArray soundStream()
{
    return httpAnswer("audio/ogg", contentOf("tone.opus"));
}

inline QString portOf(const LoopbackServer& server)
{
    return QString::number(QUrl(server.url("http", "/")).port());
}

/// A port that was free a moment ago: connections to it are refused.
inline QString closedPort()
{
    return portOf(LoopbackServer({}, LoopbackServer::Ending::Close));
}

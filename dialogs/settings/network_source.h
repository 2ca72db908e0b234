// network_source.h: address and port of a stream in the network, as they were typed.
#pragma once

#include <QString>

/// The address that the dialogs start with.
QString defaultLanAddress();

struct NetworkSource
{
    QString address = defaultLanAddress();
    QString port = QStringLiteral("8080");

    /// Neither text is empty.
    bool isComplete() const { return !address.isEmpty() && !port.isEmpty(); }

    /// "http://ADDRESS:PORT/PATH". Nothing is checked or escaped: what makes no URL is refused when it is opened.
    QString url(const QString& path) const;
};

/// What the user is told about a source that is not complete.
QString incompleteNetworkText();

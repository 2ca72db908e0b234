// lab_file.h: a file that lists devices which are started and ended together.
#pragma once

#include "app/creation_slots.h"

#include <QByteArray>
#include <QString>

#include <vector>

/// The devices of a lab, or the sentence that names the member that is wrong.
struct LabReading
{
    std::vector<CreationRequest> devices;
    QString error; ///< empty when there are devices
};

/// Reads the JSON of a lab (see the guide). Relative sources count from `folder`, where its file lies.
LabReading parseLab(const QByteArray& json, const QString& folder);

/// The same of a file; the error begins with its path.
LabReading readLab(const QString& path);

/// What the devices of that file say they belong to: its whole path, whether or not it is still there.
QString labName(const QString& path);

// configuration_json.h: a configuration as the capture channel tells it.
#pragma once

#include <QJsonObject>

/// {"configDescriptor": {...}, "interfaces": [{"alternateSettings": [{"descriptor": {...}, "endpoints": [...]}]}]} from
/// the descriptors as they travel: values of the configuration descriptor as numbers, those of interfaces and endpoints
/// as texts, bMaxPower in mA, whose unit depends on the speed. Empty for bytes that do not begin with a configuration
/// descriptor.
QJsonObject configurationJson(const QByteArray& configurationDescriptor, bool isSuperSpeed);

#pragma once

#include "Interfaces/ExControlDevModel.h"

#include <QJsonObject>

#include <vector>

class CJsonObjectReader;

/// A device with what the file says of it: the order of its commands stands there alone.
struct SDevice {
    SDevDataNode node;
    QJsonObject json;
};

/// One device's object. Throws CFileError.
SDevice ReadDevice(const CJsonObjectReader& reader);
/// None while the file doesn't exist. Throws CFileError.
std::vector<SDevice> ReadDeviceFile(const QString& file);
QJsonObject DeviceFileOf(const std::vector<SDevice>& devices);

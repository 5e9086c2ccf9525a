#pragma once

#include "Interfaces/ExControlDevModel.h"

#include <QJsonObject>

#include <vector>

class CJsonObjectReader;

/// A device with its JSON object, which alone preserves the order of the commands.
struct SDevice {
    SDevDataNode node;
    QJsonObject json;
};

/// Reads one device.
/// \throws CFileError if the object is invalid
SDevice ReadDevice(const CJsonObjectReader& reader);
/// Reads the devices of a file; none if it doesn't exist.
/// \throws CFileError if the file can't be read or is invalid
std::vector<SDevice> ReadDeviceFile(const QString& file);
/// Returns the content of a device file.
QJsonObject DeviceFileOf(const std::vector<SDevice>& devices);

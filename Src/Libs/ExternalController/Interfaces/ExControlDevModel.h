#pragma once

#include <QHash>
#include <QString>
#include <QUuid>

#include <cstdint>

/// How a command's data are encoded for sending.
namespace DeviceFormat {
enum Format : int {
    Text = 0,
    HexadecimalText = 1, ///< two digits for each of its Latin-1 bytes
};
} // namespace DeviceFormat

/// A configured command of a device.
struct SExControlCmdData {
    QUuid cmdId; ///< null: no such command was found
    int nDataFormat = DeviceFormat::Text;
    QString strData; ///< as the operator typed it
    QString strName;
};

namespace DeviceType {
enum Type : int {
    None = -1, ///< no such device was found
    Udp = 0,
    Serial = 1,
};
} // namespace DeviceType

/// An external control device: a projector controller, a matrix switcher, a relay box.
struct SDevDataNode {
    QUuid devId;
    int nDevType = DeviceType::None;
    std::uint16_t nPort = 0; ///< of a UDP device, as strIp
    QString strChannelParam; ///< a serial device's line settings, "9600,8,N,1"
    QString strIp;
    QString strOpenParam; ///< a serial device's port name, "/dev/ttyUSB0"
    QString strName;
    QHash<uint, SExControlCmdData> commands; ///< by their ids' qHash
};

/// The host's external control devices.
class CExControlDevModel {
public:
    static CExControlDevModel* GetInstance();
    virtual ~CExControlDevModel() = default;

    virtual SDevDataNode GetExControlDevNode(const QUuid& devId) = 0;
    /// The JSON file that stores the devices: an object whose "ExControlDevData" is an array of objects with a "DevId".
    virtual QString GetFileSavePath() = 0;
};

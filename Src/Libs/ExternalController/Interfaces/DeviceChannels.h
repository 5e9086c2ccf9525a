#pragma once

#include "Interfaces/ZXComm.h"

#include <cstddef>
#include <memory>
#include <string>

namespace Comm {

/// A serial port that commands are written to. Any thread may call the operations; Open may be called once.
class COMChannel {
public:
    /// lineSettings such as "9600,8,N,1".
    COMChannel(std::size_t bufferBytes, const std::string& lineSettings);
    /// Returns at once. Queued data are still written; a channel that opens the same port gets it after that.
    virtual ~COMChannel();
    COMChannel(const COMChannel&) = delete;
    COMChannel& operator=(const COMChannel&) = delete;

    /// portName such as "/dev/ttyUSB0" or "COM3".
    virtual bool Open(const std::string& portName);
    /// Queues the package's data and returns. Queued data are written in their order.
    virtual void AsyncSend(std::shared_ptr<RequestPackage> package);

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

/// A UDP socket that commands are sent from.
class UDPClientChannel {
public:
    explicit UDPClientChannel(std::size_t bufferBytes);
    virtual ~UDPClientChannel();
    UDPClientChannel(const UDPClientChannel&) = delete;
    UDPClientChannel& operator=(const UDPClientChannel&) = delete;

    /// Binds to this local address; an empty one means any. Several channels may share a port.
    virtual bool Init(const std::string& localIp, unsigned short localPort);
    virtual bool SendTo(const std::string& datagram, const std::string& remoteIp, unsigned short remotePort);

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

} // namespace Comm

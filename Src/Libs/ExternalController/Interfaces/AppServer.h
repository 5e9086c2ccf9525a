#pragma once

#include "Interfaces/ZXComm.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace AppServer {

/// The two TCP server channels, as SendPackage takes them.
enum Channel : int {
    Control = 0,
    Bulk = 1,
};

constexpr std::uint16_t kControlPort = 25506;
constexpr std::uint16_t kBulkPort = 25507;

/// With an empty address: the app whose request the calling thread is handling; on any other thread every connected
/// app.
constexpr std::uint16_t kConnectedApp = 65535;

} // namespace AppServer

/// Serves the mobile apps: two TCP channels, UDP discovery and FTP upload.
/// The callbacks run on the server's threads, several at a time. Those of one connection run one after the other: the
/// connected callback first and the notice that it closed last. Any thread may call the operations; Stop and
/// UninitServer must not be called on one of the server's threads.
class CAPPServerManager {
public:
    using PackageCallback = std::function<void(std::shared_ptr<Comm::ResponsePackage>)>;
    using UploadEndCallback = std::function<void(std::string path)>;
    using ConnectedCallback = std::function<void(std::string ip, unsigned short port)>;

    CAPPServerManager();

    virtual void SendUdpData(const std::string& datagram, const std::string& remoteIp, unsigned short remotePort);
    /// Queues the package's data on a channel for one peer, or for the connected app (empty ip, kConnectedApp).
    /// A package for a peer that isn't connected is dropped.
    virtual void SendPackage(std::shared_ptr<Comm::RequestPackage> package, int channel, const std::string& ip,
                             unsigned short port);

    virtual ~CAPPServerManager();
    CAPPServerManager(const CAPPServerManager&) = delete;
    CAPPServerManager& operator=(const CAPPServerManager&) = delete;

    virtual void SetCallBackFunc(PackageCallback tcp, PackageCallback udp, UploadEndCallback uploadEnd);
    virtual void SetConnectedFuc(ConnectedCallback connected);
    /// Starts serving with the callbacks set so far. Does nothing while the server runs.
    virtual void InitServer();
    /// Closes every connection, with its notice, and stops serving. Requests that are not yet being handled are
    /// dropped, and no callback runs after it has returned. InitServer starts it again.
    virtual void UninitServer();
    virtual void Stop();
    /// Closes the peer's connections on both channels.
    virtual void DisConnect(std::string ip, unsigned short port);
    /// Sets the folder of later uploads. An empty name changes nothing.
    virtual void ModifyAppResSavePath(const QString& path);

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

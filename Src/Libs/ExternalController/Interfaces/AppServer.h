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

/// With an empty address: the app whose request is being handled, or else every app that is connected.
constexpr std::uint16_t kConnectedApp = 65535;

} // namespace AppServer

/// Serves the mobile apps: two TCP channels, UDP discovery and FTP upload.
/// The callbacks run on the server's threads, several at a time; those of one connection run one after the other, the
/// connect callback first and the notice of its close last. Every operation may be called from any thread, Stop and
/// UninitServer from any but the server's own.
class CAPPServerManager {
public:
    using PackageCallback = std::function<void(std::shared_ptr<Comm::ResponsePackage>)>;
    using UploadEndCallback = std::function<void(std::string path)>;
    using ConnectedCallback = std::function<void(std::string ip, unsigned short port)>;

    CAPPServerManager();

    virtual void SendUdpData(const std::string& datagram, const std::string& remoteIp, unsigned short remotePort);
    /// Queues the package's data on a channel for one peer, or for the connected app (empty ip, kConnectedApp).
    /// A peer that isn't connected is passed over.
    virtual void SendPackage(std::shared_ptr<Comm::RequestPackage> package, int channel, const std::string& ip,
                             unsigned short port);

    virtual ~CAPPServerManager();
    CAPPServerManager(const CAPPServerManager&) = delete;
    CAPPServerManager& operator=(const CAPPServerManager&) = delete;

    virtual void SetCallBackFunc(PackageCallback tcp, PackageCallback udp, UploadEndCallback uploadEnd);
    virtual void SetConnectedFuc(ConnectedCallback connected);
    /// Starts serving with the callbacks that are set by then. Does nothing while it already serves.
    virtual void InitServer();
    /// Closes every connection and ends serving; no callback runs once it has returned. InitServer starts it again.
    virtual void UninitServer();
    virtual void Stop();
    /// Closes the peer's connections on both channels.
    virtual void DisConnect(std::string ip, unsigned short port);
    /// Later uploads go below this folder; an empty name changes nothing.
    virtual void ModifyAppResSavePath(const QString& path);

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

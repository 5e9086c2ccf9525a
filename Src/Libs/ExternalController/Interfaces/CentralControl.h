#pragma once

#include <QJsonObject>

#include <functional>
#include <memory>
#include <string>

/// Serves the central-control system over UDP. Each message has its keyword translated into "cmdType".
class CCentralControllerManager {
public:
    using MessageCallback = std::function<void(QJsonObject&)>;

    CCentralControllerManager();
    virtual ~CCentralControllerManager();
    CCentralControllerManager(const CCentralControllerManager&) = delete;
    CCentralControllerManager& operator=(const CCentralControllerManager&) = delete;

    /// Call it before InitServer. The callback runs on the server's threads: for datagrams of one peer one after the
    /// other, for those of several peers at the same time.
    virtual void SetCallBackFunc(MessageCallback callback);
    virtual void InitServer();
    /// Sends a JSON or other text to the peer in one datagram. Any thread. A text that can't be sent is lost.
    virtual void SendData(const std::string& json, const std::string& remoteIp, unsigned short remotePort);

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

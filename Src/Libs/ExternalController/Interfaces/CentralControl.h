#pragma once

#include <QJsonObject>

#include <functional>
#include <memory>
#include <string>

/// Receives the central-control system's messages, each with its keyword already translated into "cmdType".
class CCentralControllerManager {
public:
    using MessageCallback = std::function<void(QJsonObject&)>;

    CCentralControllerManager();
    virtual ~CCentralControllerManager();
    CCentralControllerManager(const CCentralControllerManager&) = delete;
    CCentralControllerManager& operator=(const CCentralControllerManager&) = delete;

    /// Before InitServer. It runs on the server's threads, that of one peer's datagrams one after the other.
    virtual void SetCallBackFunc(MessageCallback callback);
    virtual void InitServer();
    /// A JSON or other text to the peer, from any thread. One that can't be sent is lost.
    virtual void SendData(const std::string& json, const std::string& remoteIp, unsigned short remotePort);

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

#pragma once

#include <QJsonObject>
#include <QString>

#include <functional>
#include <memory>
#include <string>

namespace CloudControl {

/// The kind of a reply, which is sent with it.
enum EROUTE_TYPE : int {
    SystemInformation = 0,
    ProjectData = 1,
    ClipAndChapterData = 2,
    PlayLog = 3,
    OperationLog = 4,
};

/// Two login texts and the plain password, in the order of the software settings.
struct SCloudUserInfo {
    QString first;
    QString second;
    QString password;
};

} // namespace CloudControl

class ICloudControlManager {
public:
    virtual ~ICloudControlManager() = default;
    virtual void SendData(const std::string& data, CloudControl::EROUTE_TYPE route) = 0;
};

/// Connects to the cloud service over a WebSocket (RFC 6455).
class CCloudControlManager : public ICloudControlManager {
public:
    using MessageCallback = std::function<void(QJsonObject&)>;

    CCloudControlManager();
    ~CCloudControlManager() override;
    CCloudControlManager(const CCloudControlManager&) = delete;
    CCloudControlManager& operator=(const CCloudControlManager&) = delete;

    /// Any thread. A reply to a command goes to the connection that the command came on, and is dropped if that has
    /// ended.
    void SendData(const std::string& data, CloudControl::EROUTE_TYPE route) override;
    /// Call it before InitInstance. The callback runs on a thread of the client, for one command after the other.
    virtual void SetCloudControlMsgCallBack(MessageCallback callback);
    /// A second call does nothing.
    virtual void InitInstance();
    /// Replaces an earlier connection. Retries until Close is called.
    virtual void Connect(const CloudControl::SCloudUserInfo& user);
    /// Checks on a connection of its own whether the service accepts the user, and logs the result.
    virtual void ValidateLogin(const CloudControl::SCloudUserInfo& user);
    /// Whether a connection exists or is being attempted.
    virtual bool IsConnected();
    virtual void Close();

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

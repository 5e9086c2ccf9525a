#pragma once

#include <QJsonObject>
#include <QString>

#include <functional>
#include <memory>
#include <string>

namespace CloudControl {

/// Tells the cloud service what a reply is.
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

/// Keeps the WebSocket connection to the cloud service.
class CCloudControlManager : public ICloudControlManager {
public:
    using MessageCallback = std::function<void(QJsonObject&)>;

    CCloudControlManager();
    ~CCloudControlManager() override;
    CCloudControlManager(const CCloudControlManager&) = delete;
    CCloudControlManager& operator=(const CCloudControlManager&) = delete;

    /// From any thread. An answer to a command goes to the connection that the command came on, or nowhere.
    void SendData(const std::string& data, CloudControl::EROUTE_TYPE route) override;
    /// Before InitInstance. It runs on a thread of the client's, for one command after the other.
    virtual void SetCloudControlMsgCallBack(MessageCallback callback);
    /// A second call does nothing.
    virtual void InitInstance();
    /// In place of an earlier connection; tries again and again until Close.
    virtual void Connect(const CloudControl::SCloudUserInfo& user);
    /// Finds out whether the service lets such a user in, beside the connection, and tells it in the host's log.
    virtual void ValidateLogin(const CloudControl::SCloudUserInfo& user);
    /// Whether there is a connection, or one is tried for.
    virtual bool IsConnected();
    virtual void Close();

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

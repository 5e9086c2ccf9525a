#pragma once

#include "Interfaces/ZXComm.h"

#include <functional>
#include <memory>

/// Keeps the TCP connection to the FP controller.
class IFPClientManager {
public:
    virtual ~IFPClientManager() = default;
    virtual void SendPackage(std::shared_ptr<Comm::RequestPackage> package) = 0;
};

class CFPClientManager : public IFPClientManager {
public:
    using PackageCallback = std::function<void(std::shared_ptr<Comm::ResponsePackage>)>;

    CFPClientManager();
    ~CFPClientManager() override;
    CFPClientManager(const CFPClientManager&) = delete;
    CFPClientManager& operator=(const CFPClientManager&) = delete;

    /// From any thread. Dropped while there is no connection.
    void SendPackage(std::shared_ptr<Comm::RequestPackage> package) override;
    /// Before InitServer. It runs on the client's threads, for one packet after the other.
    virtual void SetCallBackFunc(PackageCallback callback);
    virtual void InitServer();

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

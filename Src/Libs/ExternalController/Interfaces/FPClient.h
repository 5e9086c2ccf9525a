#pragma once

#include "Interfaces/ZXComm.h"

#include <functional>
#include <memory>

/// Connects to the FP controller over TCP.
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

    /// Any thread. The package is dropped while no connection exists.
    void SendPackage(std::shared_ptr<Comm::RequestPackage> package) override;
    /// Call it before InitServer. The callback runs on the client's threads, for one packet after the other.
    virtual void SetCallBackFunc(PackageCallback callback);
    virtual void InitServer();

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

#pragma once

#include "ChannelLoad/ChildProcess.h"
#include "ChannelLoad/Connection.h"

#include <filesystem>

/// A temporary folder that is deleted with this object.
class CTemporaryFolder {
public:
    CTemporaryFolder();
    ~CTemporaryFolder();
    CTemporaryFolder(const CTemporaryFolder&) = delete;
    CTemporaryFolder& operator=(const CTemporaryFolder&) = delete;

    const std::filesystem::path& Path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

/// A showhost process with an empty state folder.
class CShowHostProcess {
public:
    static constexpr char kName[] = "showhost";
    static constexpr std::uint16_t kPagePort = 25512;

    /// Starts showhost and waits until it prints that it is ready.
    CShowHostProcess(const std::string& program, const std::string& show, const std::string& ip);

    const CChildProcess& Process() const { return m_process; }
    const sockaddr_in& AppAddress() const { return m_appAddress; }
    const sockaddr_in& CentralAddress() const { return m_centralAddress; }

private:
    void WaitUntilReady();

    const sockaddr_in m_appAddress;
    const sockaddr_in m_centralAddress;
    const CTemporaryFolder m_folder;
    const std::filesystem::path m_output; ///< its standard output: writing to a file never blocks
    CChildProcess m_process;
};

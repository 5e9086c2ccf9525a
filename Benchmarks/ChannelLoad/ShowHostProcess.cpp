#include "ChannelLoad/ShowHostProcess.h"

#include "CentralControl/CentralControlConfig.h"
#include "Interfaces/AppServer.h"

#include <chrono>
#include <fstream>
#include <stdexcept>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr char kReady[] = "showhost ready";
constexpr std::chrono::seconds kTimeout(30);
constexpr std::chrono::milliseconds kPollInterval(10);

int Become(const std::string& program, const std::string& show, const std::string& ip, const CTemporaryFolder& folder,
           const std::filesystem::path& output)
{
    const int file = Syscall::Do("open", [&] { return open(output.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600); });
    Syscall::Do("dup2", [&] { return dup2(file, STDOUT_FILENO); });
    const std::string state = (folder.Path() / "state").string();
    const std::string page = ip + ':' + std::to_string(CShowHostProcess::kPagePort);
    Syscall::Do(program.c_str(), [&] {
        return execl(program.c_str(), program.c_str(), "--show", show.c_str(), "--state", state.c_str(), "--listen",
                     ip.c_str(), "--page", page.c_str(), "--quiet", nullptr);
    });
    return 0;
}

} // namespace

CTemporaryFolder::CTemporaryFolder()
{
    std::string name = (std::filesystem::temp_directory_path() / "channelload-XXXXXX").string();
    if (!mkdtemp(name.data()))
        Syscall::Fail("mkdtemp");
    m_path = name;
}

CTemporaryFolder::~CTemporaryFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

CShowHostProcess::CShowHostProcess(const std::string& program, const std::string& show, const std::string& ip)
    : m_appAddress(MakeAddress(ip, AppServer::kControlPort))
    , m_centralAddress(MakeAddress(ip, CentralControl::kPort))
    , m_output(m_folder.Path() / "output.txt")
    , m_process(kName, [&] {
        std::filesystem::create_directory(m_folder.Path() / "state");
        return Become(program, show, ip, m_folder, m_output);
    })
{
    WaitUntilReady();
}

void CShowHostProcess::WaitUntilReady()
{
    const auto deadline = std::chrono::steady_clock::now() + kTimeout;
    for (;;) {
        std::ifstream output(m_output);
        for (std::string line; std::getline(output, line);) {
            if (line.compare(0, sizeof kReady - 1, kReady) == 0)
                return;
        }
        m_process.ThrowIfEnded();
        Syscall::ThrowIfInterrupted();
        if (std::chrono::steady_clock::now() > deadline)
            throw std::runtime_error("showhost isn't ready after " + std::to_string(kTimeout.count()) + " s");
        std::this_thread::sleep_for(kPollInterval);
    }
}

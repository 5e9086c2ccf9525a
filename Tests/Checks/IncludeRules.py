#!/usr/bin/python3
"""Checks which parts of the sources include which others: IncludeRules.py SOURCE_DIR

Prints each violation as file:line: reason. The exit code is 1 if there is a violation.
"""
import re

from SourceCheck import run

MODULE = "Src/Libs/ExternalController/ExternalController/"
INTERFACES = "Src/Libs/ExternalController/Interfaces/"
STAND_INS = "Src/Libs/StandIns/"
APPS = "Src/Apps/"

INCLUDE = re.compile(r'\s*#\s*(?:include|import)\s*([<"])([^>"]+)[>"]')
GENERATED = re.compile(r"(moc_)?\w+\.(moc|cpp)")

STANDARD = re.compile(r"[a-z_]+")
QT = re.compile(r"(Qt\w+/)?Q\w+")
QT_IO = re.compile(  # Qt classes that open sockets, ports, databases or processes
    r"(Qt\w+/)?Q(AbstractSocket|Tcp\w+|Udp\w+|Local(Socket|Server)|Ssl\w*|Dtls\w*|Sctp\w+|Socket\w+|Network(Access\w+"
    r"|Reply|Request)|Http\w+|WebSocket\w*|Serial\w+|Sql\w*|Process|Library|PluginLoader|SharedMemory|FileSystemWatcher)")
POSIX = re.compile(
    r"(sys|net|netinet|netpacket|arpa|linux|asm|rpc)/.+"
    r"|(unistd|fcntl|dirent|poll|netdb|ifaddrs|pthread|termios?|pwd|grp|signal|dlfcn|spawn|pty|utmpx?|sched|semaphore"
    r"|syslog|mqueue|aio|ftw|fts|glob|wordexp|execinfo|mntent|mount|ucontext)\.h")

# Interfaces that include the header of a closed library where that is installed.
FOREIGN = {
    INTERFACES + "Hv.h": {"hv/base64.h"},
    INTERFACES + "IpHelper.h": {"winsock2.h", "iphlpapi.h"},
}

# Headers for Common/ that CMake generates in the build folder.
GENERATED_HEADERS = {"KeyPair.h", "Contract/Names.inc"}


def module_violation(path, quoted, name):
    if quoted:
        own = name.startswith(("ExternalController/", "Interfaces/")) or GENERATED.fullmatch(name)
        generated = name in GENERATED_HEADERS and path.startswith(MODULE + "Common/")
        return None if own or generated else f'the module may include only its own folders and Interfaces/, not "{name}"'
    if name.startswith("openssl/"):
        return None if path.startswith(MODULE + "Common/") else f"in the module only Common/ may include <{name}>"
    return portable_violation("the module", name)


def interfaces_violation(path, quoted, name):
    if name in FOREIGN.get(path, ()):
        return None
    if quoted:
        return None if name.startswith("Interfaces/") else f'Interfaces/ may include only Interfaces/, not "{name}"'
    return portable_violation("Interfaces/", name)


def portable_violation(who, name):
    if STANDARD.fullmatch(name) or (QT.fullmatch(name) and not QT_IO.fullmatch(name)):
        return None
    return f"{who} may not include headers of sockets, ports or the platform: <{name}>"


def stand_in_violation(path, quoted, name, folders):
    if POSIX.fullmatch(name):
        return None if path.startswith(STAND_INS + "Platform/") else f"only StandIns/Platform and Apps may include <{name}>"
    if not quoted or GENERATED.fullmatch(name):
        return None
    if name == "KeyPair.h":
        return None if path.startswith(STAND_INS + "HostModels/") else "only HostModels may include KeyPair.h"
    allowed = name.startswith(("Interfaces/", "ExternalController/Common/")) or name.split("/")[0] in folders
    return None if allowed else f'StandIns/ may include only Interfaces/, StandIns/ and the module\'s Common/, not "{name}"'


def violation(path, quoted, name, folders):
    if ".." in name.split("/") or "\\" in name:
        return f'an include path must be relative to an include folder, without "..": "{name}"'
    if path.startswith(MODULE):
        return module_violation(path, quoted, name)
    if path.startswith(INTERFACES):
        return interfaces_violation(path, quoted, name)
    if path.startswith(STAND_INS):
        return stand_in_violation(path, quoted, name, folders)
    return None


def violations(sources):
    """sources: pairs of path relative to the source folder and text."""
    folders = {path[len(STAND_INS):].split("/")[0] for path, _ in sources if path.startswith(STAND_INS)}
    for path, text in sources:
        for number, line in enumerate(text.splitlines(), 1):
            include = INCLUDE.match(line)
            reason = include and violation(path, include[1] == '"', include[2], folders)
            if reason:
                yield f"{path}:{number}: {reason}"


def self_test():
    folders = [(STAND_INS + "Comm/TcpServer.h", ""), (STAND_INS + "Platform/IpHelper.cpp", "")]
    module, common, sender = MODULE + "A.cpp", MODULE + "Common/A.cpp", MODULE + "MsgSender/A.cpp"
    stand_in, platform, app = STAND_INS + "AppServer/A.cpp", STAND_INS + "Platform/A.cpp", APPS + "ShowHost/A.cpp"
    violating = [
        (module, '"Comm/TcpServer.h"'), (module, '"ShowHost/A.h"'), (module, '"Common/Command.h"'),
        (module, '"../StandIns/Comm/TcpServer.h"'), (module, '"ExternalController/../../StandIns/Log/Log.h"'),
        (module, "<asio.hpp>"), (module, "<asio/ip/tcp.hpp>"), (module, "<sys/socket.h>"), (module, "<unistd.h>"),
        (module, "<windows.h>"), (common, "<QTcpSocket>"), (common, "<QUdpSocket>"), (common, "<QtCore/QProcess>"),
        (common, "<QWebSocket>"), (sender, "<openssl/rsa.h>"), (sender, '"KeyPair.h"'), (sender, "<hv/base64.h>"),
        (INTERFACES + "A.h", '"ExternalController/Common/Command.h"'), (INTERFACES + "A.h", "<netdb.h>"),
        (INTERFACES + "A.h", "<winsock2.h>"), (INTERFACES + "A.h", '"Comm/TcpServer.h"'),
        (stand_in, '"ExternalController/ExternalController.h"'), (stand_in, '"ExternalController/MsgSender/MsgSenderBase.h"'),
        (stand_in, '"ShowHost/A.h"'), (stand_in, "<sys/socket.h>"), (stand_in, "<fcntl.h>"), (platform, '"ShowRemote/A.h"'),
        (app, '"../../Libs/StandIns/Comm/TcpServer.h"'),
    ]
    allowed = [
        (module, '"ExternalController/MsgSender/MsgSenderBase.h"'), (module, '"Interfaces/AppServer.h"'),
        (module, "<QNetworkInterface>"), (module, "<QHostInfo>"), (module, "<QFile>"), (module, "<shared_mutex>"),
        (common, "<openssl/rsa.h>"), (common, '"KeyPair.h"'), (common, '"Contract/Names.inc"'), (module, '"moc_A.cpp"'),
        (INTERFACES + "IpHelper.h", "<iphlpapi.h>"), (INTERFACES + "A.h", "<QJsonObject>"),
        (stand_in, '"Comm/TcpServer.h"'), (stand_in, '"ExternalController/Common/Command.h"'), (stand_in, "<asio.hpp>"),
        (platform, "<ifaddrs.h>"), (app, '"ExternalController/ExternalController.h"'), (app, "<unistd.h>"),
    ]
    wrong = []
    for cases, count in ((violating, 1), (allowed, 0)):
        for path, name in cases:
            found = list(violations(folders + [(path, f"// a comment\n  # include {name} // why\n")]))
            if len(found) != count or not all(line.startswith(f"{path}:2: ") for line in found):
                wrong.append(f"{path} including {name}: {found or 'no violation'}")
    return wrong


if __name__ == "__main__":
    run(__doc__, violations, self_test)

#!/usr/bin/python3
"""Holds the rules of who may include whom: IncludeRules.py SOURCE_DIR

Prints each offence as file:line: reason and ends with 1 if there is any.
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
QT_DOORS = re.compile(  # the parts of Qt that open sockets, ports, databases or other programs
    r"(Qt\w+/)?Q(AbstractSocket|Tcp\w+|Udp\w+|Local(Socket|Server)|Ssl\w*|Dtls\w*|Sctp\w+|Socket\w+|Network(Access\w+"
    r"|Reply|Request)|Http\w+|WebSocket\w*|Serial\w+|Sql\w*|Process|Library|PluginLoader|SharedMemory|FileSystemWatcher)")
POSIX = re.compile(
    r"(sys|net|netinet|netpacket|arpa|linux|asm|rpc)/.+"
    r"|(unistd|fcntl|dirent|poll|netdb|ifaddrs|pthread|termios?|pwd|grp|signal|dlfcn|spawn|pty|utmpx?|sched|semaphore"
    r"|syslog|mqueue|aio|ftw|fts|glob|wordexp|execinfo|mntent|mount|ucontext)\.h")

# The declarations that are the closed library's own header where that is installed.
FOREIGN = {
    INTERFACES + "Hv.h": {"hv/base64.h"},
    INTERFACES + "IpHelper.h": {"winsock2.h", "iphlpapi.h"},
}

# What CMake writes into the build tree for Common/.
MADE = {"KeyPair.h", "Contract/Names.inc"}


def module_offence(path, quoted, name):
    if quoted:
        own = name.startswith(("ExternalController/", "Interfaces/")) or GENERATED.fullmatch(name)
        made = name in MADE and path.startswith(MODULE + "Common/")
        return None if own or made else f'the module includes its own rooms and Interfaces/ only, not "{name}"'
    if name.startswith("openssl/"):
        return None if path.startswith(MODULE + "Common/") else f"in the module <{name}> belongs to Common/"
    return portable_offence("the module", name)


def interfaces_offence(path, quoted, name):
    if name in FOREIGN.get(path, ()):
        return None
    if quoted:
        return None if name.startswith("Interfaces/") else f'Interfaces/ include Interfaces/ only, not "{name}"'
    return portable_offence("Interfaces/", name)


def portable_offence(who, name):
    if STANDARD.fullmatch(name) or (QT.fullmatch(name) and not QT_DOORS.fullmatch(name)):
        return None
    return f"{who} may not reach sockets, ports or the platform: <{name}>"


def stand_in_offence(path, quoted, name, rooms):
    if POSIX.fullmatch(name):
        return None if path.startswith(STAND_INS + "Platform/") else f"<{name}> belongs to StandIns/Platform and Apps"
    if not quoted or GENERATED.fullmatch(name):
        return None
    if name == "KeyPair.h":
        return None if path.startswith(STAND_INS + "HostModels/") else "only the user model encrypts passwords"
    allowed = name.startswith(("Interfaces/", "ExternalController/Common/")) or name.split("/")[0] in rooms
    return None if allowed else f'StandIns/ include Interfaces/, StandIns/ and the module\'s Common/ only, not "{name}"'


def offence(path, quoted, name, rooms):
    if ".." in name.split("/") or "\\" in name:
        return f'an include names the room, not the way to it: "{name}"'
    if path.startswith(MODULE):
        return module_offence(path, quoted, name)
    if path.startswith(INTERFACES):
        return interfaces_offence(path, quoted, name)
    if path.startswith(STAND_INS):
        return stand_in_offence(path, quoted, name, rooms)
    return None


def offences(sources):
    """sources: pairs of path below the source folder and text."""
    rooms = {path[len(STAND_INS):].split("/")[0] for path, _ in sources if path.startswith(STAND_INS)}
    for path, text in sources:
        for number, line in enumerate(text.splitlines(), 1):
            include = INCLUDE.match(line)
            reason = include and offence(path, include[1] == '"', include[2], rooms)
            if reason:
                yield f"{path}:{number}: {reason}"


def self_test():
    rooms = [(STAND_INS + "Comm/TcpServer.h", ""), (STAND_INS + "Platform/IpHelper.cpp", "")]
    module, common, sender = MODULE + "A.cpp", MODULE + "Common/A.cpp", MODULE + "MsgSender/A.cpp"
    room, platform, app = STAND_INS + "AppServer/A.cpp", STAND_INS + "Platform/A.cpp", APPS + "ShowHost/A.cpp"
    offending = [
        (module, '"Comm/TcpServer.h"'), (module, '"ShowHost/A.h"'), (module, '"Common/Command.h"'),
        (module, '"../StandIns/Comm/TcpServer.h"'), (module, '"ExternalController/../../StandIns/Log/Log.h"'),
        (module, "<asio.hpp>"), (module, "<asio/ip/tcp.hpp>"), (module, "<sys/socket.h>"), (module, "<unistd.h>"),
        (module, "<windows.h>"), (common, "<QTcpSocket>"), (common, "<QUdpSocket>"), (common, "<QtCore/QProcess>"),
        (common, "<QWebSocket>"), (sender, "<openssl/rsa.h>"), (sender, '"KeyPair.h"'), (sender, "<hv/base64.h>"),
        (INTERFACES + "A.h", '"ExternalController/Common/Command.h"'), (INTERFACES + "A.h", "<netdb.h>"),
        (INTERFACES + "A.h", "<winsock2.h>"), (INTERFACES + "A.h", '"Comm/TcpServer.h"'),
        (room, '"ExternalController/ExternalController.h"'), (room, '"ExternalController/MsgSender/MsgSenderBase.h"'),
        (room, '"ShowHost/A.h"'), (room, "<sys/socket.h>"), (room, "<fcntl.h>"), (platform, '"ShowRemote/A.h"'),
        (app, '"../../Libs/StandIns/Comm/TcpServer.h"'),
    ]
    allowed = [
        (module, '"ExternalController/MsgSender/MsgSenderBase.h"'), (module, '"Interfaces/AppServer.h"'),
        (module, "<QNetworkInterface>"), (module, "<QHostInfo>"), (module, "<QFile>"), (module, "<shared_mutex>"),
        (common, "<openssl/rsa.h>"), (common, '"KeyPair.h"'), (common, '"Contract/Names.inc"'), (module, '"moc_A.cpp"'),
        (INTERFACES + "IpHelper.h", "<iphlpapi.h>"), (INTERFACES + "A.h", "<QJsonObject>"),
        (room, '"Comm/TcpServer.h"'), (room, '"ExternalController/Common/Command.h"'), (room, "<asio.hpp>"),
        (platform, "<ifaddrs.h>"), (app, '"ExternalController/ExternalController.h"'), (app, "<unistd.h>"),
    ]
    wrong = []
    for cases, count in ((offending, 1), (allowed, 0)):
        for path, name in cases:
            found = list(offences(rooms + [(path, f"// a comment\n  # include {name} // why\n")]))
            if len(found) != count or not all(line.startswith(f"{path}:2: ") for line in found):
                wrong.append(f"{path} including {name}: {found or 'no offence'}")
    return wrong


if __name__ == "__main__":
    run(__doc__, offences, self_test)

#!/usr/bin/python3
"""Holds that POSIX is called in StandIns/Platform and Apps alone: PosixCalls.py SOURCE_DIR

Prints each offence as file:line: reason and ends with 1 if there is any. IncludeRules.py holds the headers; a call may
come without one, by a standard header that declares more here than elsewhere.
"""
import re

from SourceCheck import code_of, run

HOME = ("Src/Libs/StandIns/Platform/", "Src/Apps/")

# Nobody else's names: an offence however they are called, though not as somebody's member.
POSIX = (
    r"v?fork|exec[lv]p?e?|posix_\w+|wait(pid|id|3|4)|kill(pg)?|get(p|pp|u|eu|g|eg|pg|t)id|setsid|daemon"
    r"|ioctl|fcntl|tc[a-z]+attr|tc(flush|drain|flow|sendbreak)|cf[gs]et[io]?speed|cfmakeraw|isatty|ttyname(_r)?|\w*openpty"
    r"|socketpair|(send|recv)m?msg|getifaddrs|if_nametoindex|if_indextoname|inet_\w+|get(addr|name)info|gethost\w+"
    r"|\w+time_r|strtok_r|strerror_r|rand_r|gettimeofday|settimeofday|clock_\w+time|nanosleep|usleep|alarm|setitimer"
    r"|sig(action|procmask|emptyset|addset|wait|waitinfo|suspend|queue)|pthread_\w+|sem_\w+|sched_\w+"
    r"|mmap|munmap|mprotect|madvise|shm_\w+|dl(open|sym|addr|close|error)|opendir|readdir(_r)?|scandir|nftw"
    r"|(l|f)stat(at)?|statv?fs|readlink(at)?|realpath|mk(stemps?|dtemp|fifo)|symlink|f?truncate|fdatasync|fsync|f?chmod"
    r"|l?chown|umask|chroot|dup[23]|pipe2|epoll_\w+|eventfd|timerfd_\w+|inotify_\w+|ppoll|pselect|[gs]etrlimit|getrusage"
    r"|getpw\w+|getgr\w+|sysconf|uname|setenv|unsetenv|p(open|close)|fdopen|prctl|syscall|strsignal|getline_r")
# Other things' names as well: the system's only when called as ::name(.
SHARED = (
    "open|close|read|write|pipe|dup|connect|send(to)?|recv(from)?|bind|listen|accept4?|select|poll|socket|shutdown"
    "|[gs]etsockopt|stat|access|unlink|link|mkdir|rmdir|chdir|getcwd|sleep|signal|pause|wait|nice|sync|lseek|pread|pwrite")
CALL = re.compile(rf"(?<![\w.>:])(?:(?:::\s*)?(?P<own>{POSIX})|::\s*(?P<shared>{SHARED}))\s*\(")

def offences(sources):
    """sources: pairs of path below the source folder and text."""
    for path, text in sources:
        if path.startswith(HOME):
            continue
        for number, line in enumerate(code_of(text).splitlines(), 1):
            for call in CALL.finditer(line):
                name = call["own"] or call["shared"]
                yield f"{path}:{number}: {name}() is POSIX's, which is called in StandIns/Platform and Apps alone"


def self_test():
    elsewhere = "Src/Libs/StandIns/Log/A.cpp"
    offending = ["localtime_r(&time, &parts);", "if (::fork() == 0)", "const int port = ::open(name, 0);", "x = :: close (x);",
                 "return pthread_self();", "/* why */ getpid();"]
    allowed = ["m_process.kill();", "process->kill();", "m_port.close(error);", "std::signal(SIGINT, SIG_DFL);",
               "connect(player, &CPlayer::signalA, this, f);", "QFile::close();", "// calls fork() here", 'Tell("kill(1)");',
               "asio::read(port, buffer);", "CTcpPeer::connect(address);", "Unfork(1);"]
    wrong = [line for line in offending if len(list(offences([(elsewhere, f"/* a\n b */\n{line}\n")]))) != 1]
    wrong += [line for line in allowed if list(offences([(elsewhere, line)]))]
    wrong += [line for line in offending if list(offences([(HOME[0] + "A.cpp", line), (HOME[1] + "A/A.cpp", line)]))]
    return wrong


if __name__ == "__main__":
    run(__doc__, offences, self_test)

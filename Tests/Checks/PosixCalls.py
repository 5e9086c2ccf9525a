#!/usr/bin/python3
"""Checks that only StandIns/Platform and Apps call POSIX functions: PosixCalls.py SOURCE_DIR

Prints each violation as file:line: reason. The exit code is 1 if there is a violation. IncludeRules.py checks the
headers, but standard headers of some platforms declare POSIX functions too.
"""
import re

from SourceCheck import code_of, run

HOME = ("Src/Libs/StandIns/Platform/", "Src/Apps/")

# Names that only POSIX uses: every call is a violation, except of a member function.
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
# Names that are used otherwise too: only a call of ::name( is a violation.
SHARED = (
    "open|close|read|write|pipe|dup|connect|send(to)?|recv(from)?|bind|listen|accept4?|select|poll|socket|shutdown"
    "|[gs]etsockopt|stat|access|unlink|link|mkdir|rmdir|chdir|getcwd|sleep|signal|pause|wait|nice|sync|lseek|pread|pwrite")
CALL = re.compile(rf"(?<![\w.>:])(?:(?:::\s*)?(?P<own>{POSIX})|::\s*(?P<shared>{SHARED}))\s*\(")

def violations(sources):
    """sources: pairs of path relative to the source folder and text."""
    for path, text in sources:
        if path.startswith(HOME):
            continue
        for number, line in enumerate(code_of(text).splitlines(), 1):
            for call in CALL.finditer(line):
                name = call["own"] or call["shared"]
                yield f"{path}:{number}: only StandIns/Platform and Apps may call {name}()"


def self_test():
    elsewhere = "Src/Libs/StandIns/Log/A.cpp"
    violating = ["localtime_r(&time, &parts);", "if (::fork() == 0)", "const int port = ::open(name, 0);", "x = :: close (x);",
                 "return pthread_self();", "/* why */ getpid();"]
    allowed = ["m_process.kill();", "process->kill();", "m_port.close(error);", "std::signal(SIGINT, SIG_DFL);",
               "connect(player, &CPlayer::signalA, this, f);", "QFile::close();", "// calls fork() here", 'Print("kill(1)");',
               "asio::read(port, buffer);", "CTcpPeer::connect(address);", "Unfork(1);"]
    wrong = [line for line in violating if len(list(violations([(elsewhere, f"/* a\n b */\n{line}\n")]))) != 1]
    wrong += [line for line in allowed if list(violations([(elsewhere, line)]))]
    wrong += [line for line in violating if list(violations([(HOME[0] + "A.cpp", line), (HOME[1] + "A/A.cpp", line)]))]
    return wrong


if __name__ == "__main__":
    run(__doc__, violations, self_test)

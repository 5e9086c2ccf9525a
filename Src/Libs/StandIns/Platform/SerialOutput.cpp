#include "Platform/SerialOutput.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/ioctl.h>
#include <termios.h>
#endif

std::size_t UntransmittedBytes(SerialHandle port)
{
#if defined(_WIN32)
    COMSTAT state{};
    DWORD errors = 0;
    return ClearCommError(port, &errors, &state) ? state.cbOutQue : 0;
#else
    int bytes = 0;
    return ioctl(port, TIOCOUTQ, &bytes) == 0 && bytes > 0 ? static_cast<std::size_t>(bytes) : 0;
#endif
}

void DiscardUntransmitted(SerialHandle port)
{
#if defined(_WIN32)
    PurgeComm(port, PURGE_TXABORT | PURGE_TXCLEAR);
#else
    tcflush(port, TCOFLUSH);
#endif
}

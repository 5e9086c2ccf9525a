#include "ShowHost/ConnectionLimit.h"

#if !defined(_WIN32)
#include <sys/resource.h>
#endif

void RaiseConnectionLimit()
{
#if !defined(_WIN32)
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
#endif
}

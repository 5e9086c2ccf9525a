#include "Platform/ChildDescriptors.h"

#if defined(__linux__)
#include <linux/close_range.h>
#include <unistd.h>
#endif

void KeepDescriptorsFromChild()
{
    // Elsewhere children inherit nothing that isn't marked for them.
#if defined(CLOSE_RANGE_CLOEXEC)
    close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC);
#endif
}

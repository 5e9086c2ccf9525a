#include "Platform/ChildDescriptors.h"

#if defined(__linux__)
#include <linux/close_range.h>
#include <unistd.h>
#endif

void KeepDescriptorsFromChild()
{
    // On other systems children inherit only what is marked as inheritable.
#if defined(CLOSE_RANGE_CLOEXEC)
    close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC);
#endif
}

#pragma once

/// Raises the limit for open file descriptors (RLIMIT_NOFILE) to the hard limit. Does nothing on Windows and on
/// failure.
void RaiseConnectionLimit();

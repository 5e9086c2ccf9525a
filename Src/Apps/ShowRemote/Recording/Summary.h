#pragma once

#include "ShowRemote/Recording/Recording.h"

/// Prints the number of messages, refused requests and latencies of a recording: per channel and name, and per
/// connection.
void PrintSummary(const SRecording& recording);

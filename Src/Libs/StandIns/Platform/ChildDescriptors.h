#pragma once

/// For the child between fork and exec: keeps what the parent has open, apart from the standard streams, out of the
/// program that the child becomes. Not all of it is opened close-on-exec, and a connection that the parent closes would
/// stay open for its peer, and a port taken, for as long as the child runs.
void KeepDescriptorsFromChild();

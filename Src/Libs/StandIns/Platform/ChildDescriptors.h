#pragma once

/// Marks all open descriptors except the standard streams close-on-exec. To be called in the child between fork and
/// exec.
///
/// Not all descriptors are opened close-on-exec. If the child inherited a socket, a connection that the parent closes
/// would stay open, and a port would stay in use, as long as the child runs.
void KeepDescriptorsFromChild();

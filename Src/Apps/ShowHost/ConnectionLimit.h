#pragma once

/// Lets the process have as many connections as the system allows it.
void RaiseConnectionLimit();

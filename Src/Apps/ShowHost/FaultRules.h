#pragma once

#include "Traffic/Faults.h"

#include <QString>

class CJsonObjectReader;

/// Reads a fault rule (Docs/Traffic.md).
/// \throws CFileError if the rule is not valid, or if the channel can't have this fault
SFault ReadFault(const CJsonObjectReader& reader);
/// Adds the rules of a file to CFaults.
/// \throws CFileError
void LoadFaults(const QString& file);

#pragma once

/// Converts a fraction (0 to 1) to whole per cent. Truncates instead of rounding, and calculates in single precision,
/// like the stored values: remotes expect exactly these numbers.
inline int Percent(float share)
{
    const float percent = share * 100;
    return static_cast<int>(percent);
}

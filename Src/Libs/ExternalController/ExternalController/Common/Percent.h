#pragma once

/// A share as whole per cent: in single precision, as it is stored, and cut off rather than rounded.
inline int Percent(float share)
{
    const float percent = share * 100;
    return static_cast<int>(percent);
}

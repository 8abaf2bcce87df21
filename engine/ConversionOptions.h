#pragma once

#include <QtGlobal>

// What a person may ask of a conversion besides the quality and the folder:
// a bound on the JPEG's size, whether the location stays, whether an HDR
// gain map is kept. The default is the photo as it is, with everything.
struct ConversionOptions
{
    int maxLongSide = 0; // pixels of the longer side; 0: the photo's own size
    bool keepLocation = true;
    bool keepGainMap = true;

    bool isDefault() const { return maxLongSide <= 0 && keepLocation && keepGainMap; }
    bool operator==(const ConversionOptions& other) const
    {
        return maxLongSide == other.maxLongSide && keepLocation == other.keepLocation
            && keepGainMap == other.keepGainMap;
    }
    bool operator!=(const ConversionOptions& other) const { return !(*this == other); }
};

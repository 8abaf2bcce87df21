#include "ColorProfile.h"

#include <lcms2.h>

#include <cstring>
#include <memory>

namespace decodex {

namespace {

struct Primaries
{
    int code;
    const char* name;
    double rx, ry, gx, gy, bx, by, wx, wy;
};

// H.273 table 2.
const Primaries kPrimaries[] = {
    {4, "BT.470 System M", 0.67, 0.33, 0.21, 0.71, 0.14, 0.08, 0.310, 0.316},
    {5, "BT.601 625", 0.64, 0.33, 0.29, 0.60, 0.15, 0.06, 0.3127, 0.3290},
    {6, "BT.601 525", 0.630, 0.340, 0.310, 0.595, 0.155, 0.070, 0.3127, 0.3290},
    {7, "SMPTE 240M", 0.630, 0.340, 0.310, 0.595, 0.155, 0.070, 0.3127, 0.3290},
    {9, "BT.2020", 0.708, 0.292, 0.170, 0.797, 0.131, 0.046, 0.3127, 0.3290},
    {11, "DCI-P3", 0.680, 0.320, 0.265, 0.690, 0.150, 0.060, 0.314, 0.351},
    {12, "Display P3", 0.680, 0.320, 0.265, 0.690, 0.150, 0.060, 0.3127, 0.3290},
    {22, "EBU Tech 3213", 0.630, 0.340, 0.295, 0.605, 0.155, 0.077, 0.3127, 0.3290},
};

struct ProfileDeleter { void operator()(void* p) const { cmsCloseProfile(p); } };
struct CurveDeleter { void operator()(cmsToneCurve* c) const { cmsFreeToneCurve(c); } };
struct MluDeleter { void operator()(cmsMLU* m) const { cmsMLUfree(m); } };

std::vector<uint8_t> saved(cmsHPROFILE profile)
{
    cmsUInt32Number size = 0;
    if (!cmsSaveProfileToMem(profile, nullptr, &size) || size == 0)
        return {};
    std::vector<uint8_t> bytes(size);
    if (!cmsSaveProfileToMem(profile, bytes.data(), &size))
        return {};
    bytes.resize(size);
    return bytes;
}

} // namespace

std::vector<uint8_t> ColorProfile::forPrimaries(int primaries)
{
    const Primaries* p = nullptr;
    for (const Primaries& candidate : kPrimaries) {
        if (candidate.code == primaries)
            p = &candidate;
    }
    if (!p)
        return {};

    // IEC 61966-2-1: Y = ((X + 0.055) / 1.055)^2.4 above 0.04045, X / 12.92 below.
    const cmsFloat64Number srgb[5] = {2.4, 1.0 / 1.055, 0.055 / 1.055, 1.0 / 12.92, 0.04045};
    std::unique_ptr<cmsToneCurve, CurveDeleter> curve(cmsBuildParametricToneCurve(nullptr, 4, srgb));
    if (!curve)
        return {};
    cmsToneCurve* curves[3] = {curve.get(), curve.get(), curve.get()};
    const cmsCIExyY white = {p->wx, p->wy, 1.0};
    const cmsCIExyYTRIPLE triple = {{p->rx, p->ry, 1.0}, {p->gx, p->gy, 1.0}, {p->bx, p->by, 1.0}};
    std::unique_ptr<void, ProfileDeleter> profile(cmsCreateRGBProfile(&white, &triple, curves));
    if (!profile)
        return {};

    std::unique_ptr<cmsMLU, MluDeleter> description(cmsMLUalloc(nullptr, 1));
    if (description && cmsMLUsetASCII(description.get(), "en", "US", p->name))
        cmsWriteTag(profile.get(), cmsSigProfileDescriptionTag, description.get());

    // lcms2 stamps the profile with the time it was made; the same photo
    // must give the same bytes on every run, so the date is fixed and the
    // profile's MD5 id computed over the result.
    std::vector<uint8_t> bytes = saved(profile.get());
    if (bytes.size() < 128)
        return {};
    const uint8_t date[12] = {0x07, 0xe0, 0, 1, 0, 1, 0, 0, 0, 0, 0, 0}; // 2016-01-01 00:00:00
    std::memcpy(bytes.data() + 24, date, sizeof date);
    std::unique_ptr<void, ProfileDeleter> dated(cmsOpenProfileFromMem(bytes.data(), cmsUInt32Number(bytes.size())));
    if (!dated || !cmsMD5computeID(dated.get()))
        return {};
    return saved(dated.get());
}

} // namespace decodex

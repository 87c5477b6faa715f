#pragma once

#include "photos/Geotag.h"
#include "photos/XmpPacket.h"

namespace kv::mission {

/// Whether a photo says by itself where its camera looked, as those with a gimbal do.
bool HasOwnAttitude(const XmpPacket& packet);

/// The XMP packet of `WithGeotag`.
void SetXmpTags(const Geotag& geotag, XmpPacket& packet);

/// Whether further XMP data, in a form that is not read here, may hold properties of the geotag.
bool MayHoldXmpTags(std::string_view moreXmp);

}  // namespace kv::mission

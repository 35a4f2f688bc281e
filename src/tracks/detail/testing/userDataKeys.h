#pragma once

namespace qsml {

// Properties of user data, by how they travel to the cloud.

inline constexpr const char* pointKeys[] = {"startPoint", "endPoint", "automixStartPoint",
                                            "automixEndPoint"};
inline constexpr const char* listKeys[] = {"cuePoints", "loopRegions", "titleIDs"};
/// What stays on the device.
inline constexpr const char* localKeys[] = {"tagUUIDs",
                                            "linkedUserDataUUIDs",
                                            "manualBPM",
                                            "manualBeatTime",
                                            "manualKeySignatureIndex",
                                            "manualFirstDownBeatIndices",
                                            "manualGridStartPoints"};

}  // namespace qsml

// Requests and replies of Wi-Fi configurations.
#pragma once

#include <PelaconSDK/Vod2dApi.h>
#include <tests/sdk/api/Vod2dMembers.h>
#include <tests/support/Bytes.h>

#include <algorithm>
#include <cstdint>
#include <string>

namespace pelacon::test {

inline constexpr std::int32_t kGetSelf = 0xD70034;
inline constexpr std::int32_t kSetPeer = 0xD70035;
inline constexpr std::int32_t kIncrease = 0xD70036;
inline constexpr std::int32_t kDecrease = 0xD70037;
inline constexpr std::int32_t kCoexist = 0xD7007D;
inline constexpr std::int32_t kRecommend = 0xD7007E;
inline constexpr std::int32_t kScene = 0xD70080;
inline constexpr std::int32_t kGuid = 0xD70082;

inline Vod2dUpperScene Scene()
{
    Vod2dUpperScene scene{};
    const ByteVector data = Counting(16);
    std::copy(data.begin(), data.end(), scene.data);
    scene.scene = -9;
    return scene;
}

inline ByteVector SceneRequest(const std::string& name, std::int32_t length)
{
    return Bytes().Text(name, 32).I32(length).Raw(Counting(16)).I32(-9);
}

inline ByteVector SelfReply(const ByteVector& data, std::int32_t length, std::int32_t status)
{
    return Bytes().Raw(data, 512).I32(length).I32(status);
}

inline ByteVector CoexistReply(const std::string& data, std::int32_t length, std::int32_t status)
{
    return Bytes().Text(data, 256).I32(length).I32(status);
}

inline ByteVector CardReply(const ByteVector& entries, std::int32_t count, std::int32_t status)
{
    return Bytes().Raw(entries, 40).I32(count).I32(status);
}

}  // namespace pelacon::test

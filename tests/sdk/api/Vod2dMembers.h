// What all members of Vod2dApi share, to be instantiated with rows of them.
#pragma once

#include <tests/sdk/Vod2dIds.h>
#include <tests/support/SdkTest.h>

#include <cstdint>
#include <functional>
#include <ostream>
#include <span>
#include <string>

namespace pelacon::test {

struct Vod2dMember {
    const char* name;
    std::function<int()> call;
    std::int32_t requestId;
    ByteVector request;
    ByteVector reply;  ///< for which the result is 42
    unsigned timeoutMs = 5000;

    std::string Function() const { return std::string("Vod2dApi::") + name; }
};

inline void PrintTo(const Vod2dMember& member, std::ostream* out)
{
    *out << member.name;
}

class Vod2dMembers : public SdkTest, public ::testing::WithParamInterface<Vod2dMember> {};
class Vod2dMembersStopped : public StoppedSdkTest,
                            public ::testing::WithParamInterface<Vod2dMember> {};

/// A call whose arguments are refused before anything is sent.
struct Vod2dRefusal {
    const char* member;
    std::function<int()> call;
    int result;
    int level;
    const char* text;
};

class Vod2dArguments : public SdkTest {
  protected:
    void ExpectRefusals(std::span<const Vod2dRefusal> refusals) const;
};

}  // namespace pelacon::test

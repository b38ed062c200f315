// Which channels the paired phone and this computer are on and support.
#pragma once

#include <protocol/Operation.h>

#include <cstddef>

namespace pelacon::protocol {

using namespace std::chrono_literals;

/// Two lists of channels as text: decimal numbers separated by commas. The second begins right
/// behind the first's 255 bytes.
struct PcChannelsReply {
    char first[255];
    char second[257];
    std::int32_t value;
};
static_assert(sizeof(PcChannelsReply) == 516);
static_assert(offsetof(PcChannelsReply, second) == 255);
static_assert(offsetof(PcChannelsReply, value) == 512);

inline constexpr Operation<Nothing, PcChannelsReply> kGetPCChannelList{0xD70004, "GetPCChannelList",
                                                                       5000ms};
inline constexpr Operation<Int32Record, Acknowledged> kSetPhoneCurrentChannel{
    0xD7000D, "SetPhoneCurrentChannel", 5000ms};
inline constexpr Operation<Int32Record, Acknowledged> kAddPhoneSupportChannel{
    0xD7000E, "AddPhoneSupportChannel", 5000ms};
inline constexpr Operation<Nothing, Acknowledged> kRemovePhoneSupportChannels{
    0xD7000F, "RemovePhoneSupportChannels", 5000ms};
inline constexpr Operation<Nothing, Acknowledged> kCheckIsSet5GFailed{0xD70010,
                                                                      "CheckIsSet5GFailed", 5000ms};
inline constexpr Operation<Int32Record, Acknowledged> kAddPhoneSupport24Channel{
    0xD70011, "AddPhoneSupport24Channel", 5000ms};
inline constexpr Operation<FlagRequest, Int32Record> kRepickChannelWithoutEffect{
    0xD70012, "RepickChannelWithoutEffect", 5000ms};
inline constexpr Operation<Int32Record, Int32Record> kGetFrequenceType{0xD70013, "GetFrequenceType",
                                                                       5000ms};
inline constexpr Operation<Nothing, Text> kGetRecordPhone24GChannelList{
    0xD70014, "GetRecordPhone24GChannelList", 5000ms};
inline constexpr Operation<Nothing, Text> kGetRecordPhoneChannelList{
    0xD70015, "GetRecordPhoneChannelList", 5000ms};
inline constexpr Operation<Nothing, PcChannelsReply> kGetPCSupportChannelList{
    0xD70016, "GetPCSupportChannelList", 5000ms};
inline constexpr Operation<Nothing, Int32Record> kGetRecordPhoneChannel{
    0xD70017, "GetRecordPhoneChannel", 5000ms};
inline constexpr Operation<Nothing, Text> kGetPhoneChannelList{0xD70018, "GetPhoneChannelList",
                                                               5000ms};
inline constexpr Operation<Int32Record, ByteReply> kIs5GChannel{0xD70019, "Is5GChannel", 5000ms};
inline constexpr Operation<Int32Record, ByteReply> kIs24GChannel{0xD7001A, "Is24GChannel", 5000ms};
inline constexpr Operation<Int32Record, Int32Record> kGetFrequencyFromChannel{
    0xD70020, "GetFrequencyFromChannel", 5000ms};
inline constexpr Operation<FlagRequest, Int32Record> kSetAPFrequence{0xD70027, "SetAPFrequence",
                                                                     5000ms};

}  // namespace pelacon::protocol

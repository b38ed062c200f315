// Channels of the phone and of this computer.
#include <PelaconSDK/WifiSystemApi.h>
#include <protocol/WifiChannels.h>
#include <sdk/api/Utils.h>
#include <sdk/api/WifiRequest.h>
#include <sdk/diag/Log.h>

#include <string>

using namespace pelacon;  // NOLINT(google-build-using-namespace)
using diag::LogStart;

namespace {

/// Asks for a list of channels; none when there is no answer.
std::list<int> AskForList(const char* function,
                          const protocol::Operation<protocol::Nothing, protocol::Text>& operation)
{
    LogStart(function);
    return Exchange(function, operation, {}, Failures<std::list<int>>{}, Utils::SplitNumbers);
}

/// Asks for the computer's channels, and has them taken over when there is an answer.
template <typename TakeOver>
void AskForPcChannels(
    const char* function,
    const protocol::Operation<protocol::Nothing, protocol::PcChannelsReply>& operation,
    const TakeOver& takeOver)
{
    LogStart(function);
    Exchange(function, operation, {}, kUnacknowledged, [&](const protocol::PcChannelsReply& reply) {
        takeOver(FixedText(reply.first), FixedText(reply.second), reply.value);
        return protocol::Nothing{};
    });
}

}  // namespace

void WifiSystemApi::GetPCChannelList(std::string& channels24G, std::string& channels5G,
                                     int& current)
{
    AskForPcChannels("WifiSystemApi::GetPCChannelList", protocol::kGetPCChannelList,
                     [&](const std::string& first, const std::string& second, int value) {
                         channels24G = first;
                         channels5G = second;
                         current = value;
                     });
}

void WifiSystemApi::GetPCSupportChannelList(std::list<int>& channels24G, std::list<int>& channels5G,
                                            int& current)
{
    AskForPcChannels("WifiSystemApi::GetPCSupportChannelList", protocol::kGetPCSupportChannelList,
                     [&](const std::string& first, const std::string& second, int value) {
                         channels24G = Utils::SplitNumbers(first);
                         channels5G = Utils::SplitNumbers(second);
                         current = value;
                     });
}

void WifiSystemApi::SetPhoneCurrentChannel(int channel)
{
    Tell("WifiSystemApi::SetPhoneCurrentChannel", protocol::kSetPhoneCurrentChannel, {channel});
}

int WifiSystemApi::GetRecordPhoneChannel()
{
    return Ask("WifiSystemApi::GetRecordPhoneChannel", protocol::kGetRecordPhoneChannel, {}, 0);
}

void WifiSystemApi::AddPhoneSupportChannel(int channel)
{
    Tell("WifiSystemApi::AddPhoneSupportChannel", protocol::kAddPhoneSupportChannel, {channel});
}

void WifiSystemApi::AddPhoneSupport24Channel(int channel)
{
    Tell("WifiSystemApi::AddPhoneSupport24Channel", protocol::kAddPhoneSupport24Channel, {channel});
}

void WifiSystemApi::RemovePhoneSupportChannels()
{
    Tell("WifiSystemApi::RemovePhoneSupportChannels", protocol::kRemovePhoneSupportChannels, {});
}

std::list<int> WifiSystemApi::GetRecordPhoneChannelList()
{
    return AskForList("WifiSystemApi::GetRecordPhoneChannelList",
                      protocol::kGetRecordPhoneChannelList);
}

std::list<int> WifiSystemApi::GetRecordPhone24GChannelList()
{
    return AskForList("WifiSystemApi::GetRecordPhone24GChannelList",
                      protocol::kGetRecordPhone24GChannelList);
}

void WifiSystemApi::GetPhoneChannelList(std::string& text)
{
    // Unanswered, the text becomes what it was.
    text = Ask("WifiSystemApi::GetPhoneChannelList", protocol::kGetPhoneChannelList, {},
               std::string(text));
}

void WifiSystemApi::CheckIsSet5GFailed()
{
    Tell("WifiSystemApi::CheckIsSet5GFailed", protocol::kCheckIsSet5GFailed, {});
}

int WifiSystemApi::RepickChannelWithoutEffect(bool want5G)
{
    return AskSerialised("WifiSystemApi::RepickChannelWithoutEffect",
                         protocol::kRepickChannelWithoutEffect, {want5G}, 0);
}

int WifiSystemApi::SetAPFrequence(bool want5G)
{
    return AskSerialised("WifiSystemApi::SetAPFrequence", protocol::kSetAPFrequence, {want5G}, 0);
}

WifiFrequenceType WifiSystemApi::GetFrequenceType(int channel)
{
    return Ask("WifiSystemApi::GetFrequenceType", protocol::kGetFrequenceType, {channel},
               kWifiFrequenceUnknown);
}

bool WifiSystemApi::Is5GChannel(int channel)
{
    return Ask("WifiSystemApi::Is5GChannel", protocol::kIs5GChannel, {channel}, false);
}

bool WifiSystemApi::Is24GChannel(int channel)
{
    return Ask("WifiSystemApi::Is24GChannel", protocol::kIs24GChannel, {channel}, false);
}

int WifiSystemApi::GetFrequencyFromChannel(const int& channel)
{
    return Ask("WifiSystemApi::GetFrequencyFromChannel", protocol::kGetFrequencyFromChannel,
               {channel}, 0);
}

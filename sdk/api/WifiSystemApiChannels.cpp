// Channels of the phone and of this computer.
#include <PelaconSDK/WifiSystemApi.h>
#include <protocol/WifiChannels.h>
#include <sdk/api/BothForms.h>
#include <sdk/api/Utils.h>
#include <sdk/api/WifiCall.h>

#include <list>
#include <string>

using namespace pelacon;

bool pelacon::ReadPcChannels(std::string& channels24G, std::string& channels5G, int& current)
{
    return WifiCall("WifiSystemApi::GetPCChannelList", false)
        .Send(protocol::kGetPCChannelList, {}, [&](const protocol::PcChannelsReply& reply) {
            channels24G = protocol::TextIn(reply.first);
            channels5G = protocol::TextIn(reply.second);
            current = reply.value;
            return true;
        });
}

bool pelacon::ReadPcChannels(std::list<int>& channels24G, std::list<int>& channels5G, int& current)
{
    return WifiCall("WifiSystemApi::GetPCSupportChannelList", false)
        .Send(protocol::kGetPCSupportChannelList, {}, [&](const protocol::PcChannelsReply& reply) {
            channels24G = Utils::SplitNumbers(protocol::TextIn(reply.first));
            channels5G = Utils::SplitNumbers(protocol::TextIn(reply.second));
            current = reply.value;
            return true;
        });
}

void WifiSystemApi::GetPCChannelList(std::string& channels24G, std::string& channels5G,
                                     int& current)
{
    ReadPcChannels(channels24G, channels5G, current);
}

void WifiSystemApi::GetPCSupportChannelList(std::list<int>& channels24G, std::list<int>& channels5G,
                                            int& current)
{
    ReadPcChannels(channels24G, channels5G, current);
}

void WifiSystemApi::SetPhoneCurrentChannel(int channel)
{
    WifiCall("WifiSystemApi::SetPhoneCurrentChannel")
        .Send(protocol::kSetPhoneCurrentChannel, {channel});
}

int WifiSystemApi::GetRecordPhoneChannel()
{
    return WifiCall("WifiSystemApi::GetRecordPhoneChannel", 0)
        .Send(protocol::kGetRecordPhoneChannel, {});
}

void WifiSystemApi::AddPhoneSupportChannel(int channel)
{
    WifiCall("WifiSystemApi::AddPhoneSupportChannel")
        .Send(protocol::kAddPhoneSupportChannel, {channel});
}

void WifiSystemApi::AddPhoneSupport24Channel(int channel)
{
    WifiCall("WifiSystemApi::AddPhoneSupport24Channel")
        .Send(protocol::kAddPhoneSupport24Channel, {channel});
}

void WifiSystemApi::RemovePhoneSupportChannels()
{
    WifiCall("WifiSystemApi::RemovePhoneSupportChannels")
        .Send(protocol::kRemovePhoneSupportChannels, {});
}

std::list<int> WifiSystemApi::GetRecordPhoneChannelList()
{
    return WifiCall<std::list<int>>("WifiSystemApi::GetRecordPhoneChannelList")
        .Send(protocol::kGetRecordPhoneChannelList, {}, Utils::SplitNumbers);
}

std::list<int> WifiSystemApi::GetRecordPhone24GChannelList()
{
    return WifiCall<std::list<int>>("WifiSystemApi::GetRecordPhone24GChannelList")
        .Send(protocol::kGetRecordPhone24GChannelList, {}, Utils::SplitNumbers);
}

void WifiSystemApi::GetPhoneChannelList(std::string& text)
{
    // Unanswered, the text becomes what it was.
    text = WifiCall("WifiSystemApi::GetPhoneChannelList", std::string(text))
               .Send(protocol::kGetPhoneChannelList, {});
}

void WifiSystemApi::CheckIsSet5GFailed()
{
    WifiCall("WifiSystemApi::CheckIsSet5GFailed").Send(protocol::kCheckIsSet5GFailed, {});
}

int WifiSystemApi::RepickChannelWithoutEffect(bool want5G)
{
    return SerialisedCall("WifiSystemApi::RepickChannelWithoutEffect", 0)
        .Send(protocol::kRepickChannelWithoutEffect, {want5G});
}

int WifiSystemApi::SetAPFrequence(bool want5G)
{
    return SerialisedCall("WifiSystemApi::SetAPFrequence", 0)
        .Send(protocol::kSetAPFrequence, {want5G});
}

WifiFrequenceType WifiSystemApi::GetFrequenceType(int channel)
{
    return WifiCall("WifiSystemApi::GetFrequenceType", kWifiFrequenceUnknown)
        .Send(protocol::kGetFrequenceType, {channel});
}

bool WifiSystemApi::Is5GChannel(int channel)
{
    return WifiCall("WifiSystemApi::Is5GChannel", false).Send(protocol::kIs5GChannel, {channel});
}

bool WifiSystemApi::Is24GChannel(int channel)
{
    return WifiCall("WifiSystemApi::Is24GChannel", false).Send(protocol::kIs24GChannel, {channel});
}

int WifiSystemApi::GetFrequencyFromChannel(const int& channel)
{
    return WifiCall("WifiSystemApi::GetFrequencyFromChannel", 0)
        .Send(protocol::kGetFrequencyFromChannel, {channel});
}

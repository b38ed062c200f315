// What the kernel says of Wi-Fi cards: the attributes of several messages about one card, each
// preceded by two bytes with its length.
#include <service/linux/wifi/Nl80211.h>

#include <fuzz/Input.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace pelacon;
    using namespace pelacon::service::linux_radios;
    wifi::Card card;
    std::map<std::uint32_t, std::int32_t> loads;
    fuzz::Input input(data, size);
    while (!input.IsEmpty()) {
        const std::vector<std::uint8_t> message = input.SomeBytes();
        const netlink::Attributes attributes(message);
        wifi::CardNumber(attributes);
        wifi::AddTo(card, attributes);
        wifi::ReadInterface(attributes);
        if (const auto load = wifi::ReadLoad(attributes)) {
            fuzz::Require(load->percent >= 0 && load->percent <= 100);
            loads[load->frequency] = load->percent;
        }
    }
    wifi::UsableChannels(card, loads);
    wifi::TextOf(card.combinations);
    return 0;
}

// Requests and posts of two clients, with any payload of any length. Each begins with a byte for
// the operation, one for the client, and two with the length of the payload that follows.
#include <protocol/Catalogue.h>

#include <fuzz/Input.h>
#include <fuzz/service/WholeService.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <vector>

namespace {

using namespace pelacon;
using protocol::CatalogueEntry;

const std::vector<const CatalogueEntry*>& Operations()
{
    static const std::vector<const CatalogueEntry*> operations = [] {
        std::vector<const CatalogueEntry*> sent;
        for (const CatalogueEntry& entry : protocol::kCatalogue) {
            if (entry.IsSentToService()) {
                sent.push_back(&entry);
            }
        }
        return sent;
    }();
    return operations;
}

void Send(service::Core& core, const CatalogueEntry& entry, std::uint64_t client,
          const std::vector<std::uint8_t>& payload)
{
    // In storage of exactly this size, for AddressSanitizer.
    const std::unique_ptr<std::uint8_t[]> exact(new std::uint8_t[payload.size()]);
    std::ranges::copy(payload, exact.get());
    TagIPCMessageItem item;
    item.msgId = entry.id;
    item.length = static_cast<std::uint32_t>(payload.size());
    item.message = payload.empty() ? nullptr : exact.get();
    if (entry.kind == CatalogueEntry::Kind::kPosted) {
        core.Posted(client, item);
        return;
    }
    const IPCReply reply = core.Request(client, item);
    const bool isWhole = reply.kind == IPCReplyKind::kPayload && entry.replySize != 0 &&
                         protocol::FindRequest(entry.id, payload.size()) == &entry;
    fuzz::Require(!isWhole || reply.payload.size() == entry.replySize);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr int kMostRequests = 20;
    fuzz::WholeService& service = fuzz::WholeService::Restarted();
    fuzz::Input input(data, size);
    for (int i = 0; i < kMostRequests && !input.IsEmpty(); ++i) {
        const auto& entry = *Operations()[input.Take<std::uint8_t>() % Operations().size()];
        const std::uint64_t client = 1 + input.Take<std::uint8_t>() % 2;
        Send(service.core, entry, client, input.SomeBytes());
    }
    return 0;
}

#include <service/linux/bluetooth/KernelItems.h>
#include <tests/support/TemporaryFolder.h>

#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <optional>

namespace pelacon::service::linux_radios::tests {

namespace {

using bluetooth::KernelItems;
using testing::ElementsAre;
using testing::IsEmpty;

class NotesOnKernelItems : public testing::Test {
  protected:
    using Kind = KernelItems::Kind;
    using Item = KernelItems::Item;

    /// A service that is killed removes nothing.
    void Restart()
    {
        items.reset();
        items.emplace(file);
    }
    std::string Text() const
    {
        std::ifstream stream(file);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    test::TemporaryFolder folder;
    std::string file = folder.File("kernel-items");
    std::optional<KernelItems> items = KernelItems(file);
};

TEST_F(NotesOnKernelItems, AreReadByTheNextService)
{
    const Item advertisement{Kind::kAdvertisement, 0, 5};
    const Item monitor{Kind::kMonitor, 1, 0x1234};
    items->Add(advertisement);
    items->Add({Kind::kAdvertisement, 0, 4});
    items->Add(monitor);
    items->Remove({Kind::kAdvertisement, 0, 4});
    Restart();
    EXPECT_THAT(items->All(Kind::kAdvertisement), ElementsAre(advertisement));
    EXPECT_THAT(items->All(Kind::kMonitor), ElementsAre(monitor));
    EXPECT_TRUE(items->Contains(monitor));
    items->Remove(monitor);
    items->Remove(advertisement);
    Restart();
    EXPECT_THAT(items->All(Kind::kAdvertisement), IsEmpty());
    EXPECT_THAT(items->All(Kind::kMonitor), IsEmpty());
}

TEST_F(NotesOnKernelItems, DoNotOutliveTheBoot)
{
    items->Add({Kind::kMonitor, 0, 1});
    const std::string text = Text();
    items.reset();
    std::ofstream(file) << "another boot" << text.substr(text.find('\n'));
    Restart();
    EXPECT_THAT(items->All(Kind::kMonitor), IsEmpty());
    items->Add({Kind::kMonitor, 0, 2});
    Restart();
    EXPECT_THAT(items->All(Kind::kMonitor), ElementsAre(Item{Kind::kMonitor, 0, 2}));
}

TEST_F(NotesOnKernelItems, OfARunningServiceAreLeftAlone)
{
    items->Add({Kind::kMonitor, 0, 1});
    KernelItems other(file);
    EXPECT_THAT(other.All(Kind::kMonitor), IsEmpty());
    other.Add({Kind::kMonitor, 0, 2});
    Restart();
    EXPECT_THAT(items->All(Kind::kMonitor), ElementsAre(Item{Kind::kMonitor, 0, 1}));
}

TEST_F(NotesOnKernelItems, AreKeptInMemoryWhereThereCanBeNoFile)
{
    items.reset();
    items.emplace(folder.File("no/such/folder"));
    items->Add({Kind::kMonitor, 0, 1});
    EXPECT_TRUE(items->Contains({Kind::kMonitor, 0, 1}));
}

TEST_F(NotesOnKernelItems, SkipLinesThatAreNoNotes)
{
    items->Add({Kind::kMonitor, 0, 1});
    const std::string text = Text();
    items.reset();
    std::ofstream(file) << text << "monitor\nsomething 1 2\nmonitor 0 70000\n\nadvertisement 0 3";
    Restart();
    EXPECT_THAT(items->All(Kind::kMonitor), ElementsAre(Item{Kind::kMonitor, 0, 1}));
    EXPECT_THAT(items->All(Kind::kAdvertisement), ElementsAre(Item{Kind::kAdvertisement, 0, 3}));
}

}  // namespace

}  // namespace pelacon::service::linux_radios::tests

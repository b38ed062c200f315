// docs/operations.md against the library: every operation is called, and what it does is compared
// with what the document says.
#include <PelaconSDK/PelaconSvc.h>
#include <protocol/Catalogue.h>
#include <tests/sdk/Families.h>
#include <tests/sdk/api/Operations.h>
#include <tests/support/HeldCallback.h>
#include <tests/support/SdkTest.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <future>
#include <iterator>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace pelacon::test {

namespace {

std::string ReadFile(const std::string& name)
{
    std::ifstream file(PELACON_SOURCE_FOLDER "/" + name);
    EXPECT_TRUE(file) << name;
    return {std::istreambuf_iterator<char>(file), {}};
}

void ForEachOperation(const std::function<void(const ApiOperation& operation)>& action)
{
    for (const ApiFamily& family : ApiFamilies()) {
        for (const ApiOperation& operation : family.operations) {
            SCOPED_TRACE(operation.name);
            action(operation);
        }
    }
}

/// Whether the action ends within the patience of tests.
bool Ends(std::future<void>& action)
{
    return action.wait_for(kPatience) == std::future_status::ready;
}

std::future<void> Begin(const std::function<void()>& action)
{
    return std::async(std::launch::async, action);
}

class OperationsTest : public SdkTest {
  protected:
    void SetUp() override
    {
        SdkTest::SetUp();
        // The first table of an id stays: these, and not those that the operations register.
        for (const Family& family : Families()) {
            ScriptAnswers(family);
            family.registerTable();
        }
        channel.Reset();
        ForgetWhatHappened();
    }
    void TearDown() override
    {
        inCallback = nullptr;
        SdkTest::TearDown();
    }

    /// The service agrees to everything.
    void AnswerEverything()
    {
        for (const protocol::CatalogueEntry& entry : protocol::kCatalogue) {
            channel.Reply(entry.id, entry.replySize == 1 ? ByteVector{1} : ByteVector(2048));
        }
    }
};

// ---- What is written of each operation

/// "10 s", "posted" or nothing, as the operation's messages say.
std::string TimeoutOf(const Channel& channel)
{
    if (!channel.Posts().empty()) {
        return "posted";
    }
    const auto requests = channel.Requests();
    return requests.empty() ? "" : std::to_string(requests[0].timeoutMs / 1000) + " s";
}

std::string OrDash(const std::string& text)
{
    return text.empty() ? "–" : text;
}

/// The lines of all operations, of what they do without an answer and while the library is stopped.
std::string Document(Channel& channel)
{
    std::ostringstream document;
    for (const ApiFamily& family : ApiFamilies()) {
        document << "## " << family.heading << "\n\n"
                 << family.header << "\n\n"
                 << "| operation | called on | one at a time with | waits for callbacks | time-out "
                    "| not started | no answer |\n|---|---|---|---|---|---|---|\n";
        for (const ApiOperation& operation : family.operations) {
            PelaconSvcStart();
            channel.ForgetSent();
            const std::string noAnswer = operation.call();
            const std::string timeout = TimeoutOf(channel);
            PelaconSvcStop();
            const std::string notStarted = operation.call();
            const bool sends = !timeout.empty();
            document << "| `" << operation.name << "` | any thread | " << OrDash(operation.lock)
                     << " | " << OrDash(operation.callbacks) << " | " << OrDash(timeout) << " | "
                     << OrDash(sends ? notStarted : "") << " | "
                     << OrDash(sends && timeout != "posted" ? noAnswer : "") << " |\n";
        }
        document << '\n';
    }
    document << "## Start, stop and end\n\n| operation | |\n|---|---|\n";
    for (const SpecialOperation& operation : SpecialOperations()) {
        document << "| `" << operation.name << "` | " << operation.text << " |\n";
    }
    return document.str();
}

TEST_F(OperationsTest, TheDocumentHasTheSameTables)
{
    const std::string document = ReadFile("docs/operations.md");
    const std::size_t tables = std::min(document.find("\n## "), document.size());
    const std::string expected = document.substr(0, tables) + "\n" + Document(channel);
    if (document != expected) {
        std::ofstream("operations.md", std::ios::binary) << expected;
        ADD_FAILURE() << "docs/operations.md differs from what the library does; operations.md in "
                         "the folder of this test is what it should be.";
    }
}

// ---- That none is missing

TEST_F(OperationsTest, EachExportedFunctionIsThere)
{
    std::set<std::string> named;
    ForEachOperation([&](const ApiOperation& operation) { named.insert(operation.name); });
    for (const SpecialOperation& operation : SpecialOperations()) {
        named.insert(operation.name);
    }
    std::set<std::string> exported;
    std::istringstream lines(ReadFile("tests/sdk/exported-symbols.txt"));
    for (std::string line; std::getline(lines, line);) {
        if (line.find_first_of("( :#") == std::string::npos && !line.empty()) {  // a C function
            exported.insert(line);
        }
    }
    EXPECT_EQ(named, exported);
}

// ---- Locks

/// Called while an operation waits for its answer: which of the locks can be taken.
class Probes {
  public:
    Probes()
    {
        for (const OperationLock& lock : OperationLocks()) {
            probes_.push_back(Begin(lock.probe));
        }
    }

    /// Whether the lock is free, or not; waits for those that are expected to be free.
    void ExpectThatOnlyIsHeld(const std::string& name)
    {
        for (std::size_t i = 0; i < probes_.size(); ++i) {
            if (OperationLocks()[i].name != name) {
                EXPECT_TRUE(Ends(probes_[i])) << "holds the lock of " << OperationLocks()[i].name;
            }
        }
        for (std::size_t i = 0; i < probes_.size(); ++i) {
            if (OperationLocks()[i].name == name) {
                EXPECT_EQ(probes_[i].wait_for(std::chrono::milliseconds(2)),
                          std::future_status::timeout)
                    << "does not hold the lock of " << name;
            }
        }
    }

  private:
    std::vector<std::future<void>> probes_;
};

TEST_F(OperationsTest, HoldTheirLockWhileTheyWaitForTheService)
{
    AnswerEverything();
    ForEachOperation([&](const ApiOperation& operation) {
        std::atomic<bool> checked{false};
        std::unique_ptr<Probes> probes;
        const Channel::Hook check = [&](const Sent&) {
            if (!checked.exchange(true)) {
                probes = std::make_unique<Probes>();
                probes->ExpectThatOnlyIsHeld(operation.lock);
            }
        };
        for (const protocol::CatalogueEntry& entry : protocol::kCatalogue) {
            channel.OnRequest(entry.id, check);
        }
        channel.OnPost(check);
        operation.call();
        EXPECT_TRUE(checked || operation.lock.empty()) << "sends nothing";
        checked = true;
        probes.reset();  // the last probe ends when the lock is free
    });
}

// ---- Callbacks

const Family& FamilyOf(const CallbackKind& kind)
{
    return *std::ranges::find(Families(), std::string_view(kind.family),
                              [](const Family& family) { return std::string_view(family.name); });
}

TEST_F(OperationsTest, MayBeCalledInsideEachCallback)
{
    AnswerEverything();
    for (const Family& family : Families()) {
        SCOPED_TRACE(family.name);
        ScriptAnswers(family);
        family.registerTable();
        int calls = 0;
        inCallback = [&] {
            if (++calls == 1) {
                ForEachOperation([&](const ApiOperation& operation) { operation.call(); });
            }
        };
        auto delivery = Begin([&] { Notify(family); });
        ASSERT_TRUE(Ends(delivery)) << "an operation does not return";
        EXPECT_GE(calls, 1);
        inCallback = nullptr;
    }
}

TEST_F(OperationsTest, WaitForTheCallbacksThatTheyMustNotOvertake)
{
    AnswerEverything();
    ForEachOperation([&](const ApiOperation& operation) {
        for (const CallbackKind& kind : CallbackKinds()) {
            SCOPED_TRACE(kind.name);
            FamilyOf(kind).registerTable();
            inCallback = [] { HeldCallback::Hold(); };
            HeldCallback held([&] { Notify(FamilyOf(kind)); });
            ASSERT_TRUE(held.IsInside());
            if (operation.callbacks == kind.name) {
                EXPECT_TRUE(held.HoldsUp([&] { operation.call(); })) << "does not wait";
            } else {
                auto call = Begin([&] { operation.call(); });
                EXPECT_TRUE(Ends(call)) << "waits for the callback";
            }
        }
        inCallback = nullptr;
    });
}

}  // namespace

}  // namespace pelacon::test

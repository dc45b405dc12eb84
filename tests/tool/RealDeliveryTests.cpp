// Real messages, or those that come with the sources, delivered by several processes while others read the folder.

#include <atomic>
#include <cstdlib>
#include <set>
#include <thread>

#include "tests/tool/DeliveryFixture.h"

namespace velmora::test {

namespace fs = std::filesystem;

namespace {

constexpr size_t kAgents = 3;
constexpr size_t kOfOneProcess = 5;
constexpr size_t kMany = 60;  // of fewer, each has a process of its own
constexpr size_t kReadsBetween = 2;

class RealDelivery : public Delivery {
protected:
    // A large set of real messages where there is one, else those that come with the sources. A message that says itself that it
    // has been read is none of them: it is seen whoever delivers it.
    static std::vector<fs::path> TestMessages()
    {
        std::vector<fs::path> files;
        const char* data = std::getenv("VELMORA_TEST_DATA");
        const bool given = data && fs::is_directory(fs::path(data) / "mail");
        for (const fs::directory_entry& entry : fs::directory_iterator(given ? fs::path(data) / "mail" : fs::path(VLSTORE_EXAMPLE_MAIL))) {
            if (entry.path().extension() != ".eml" || entry.file_size() == 0) continue;
            if (ReadFileBytes(entry.path()).find("\nX-Read: 1") == std::string::npos) files.push_back(entry.path());
        }
        std::sort(files.begin(), files.end());
        return files;
    }

    // A run of its own output, from any thread; the parsed rows.
    nlohmann::json RowsOf(const std::string& who, std::vector<std::string> arguments) const
    {
        fs::path out = Directory().Path() / (who + ".out"), err = Directory().Path() / (who + ".err");
        arguments.insert(arguments.begin(), {"--wait", "--format", "json"});
        int exitCode = InStoreWith({.stdoutPath = out.string(), .stderrPath = err.string()}, arguments).exitCode;
        EXPECT_EQ(exitCode, 0) << who << ": " << ReadFileBytes(err);
        nlohmann::json rows = nlohmann::json::parse(ReadFileBytes(out), nullptr, false);
        EXPECT_TRUE(rows.is_array()) << who << ": " << ReadFileBytes(out);
        return rows.is_array() ? rows : nlohmann::json::array();
    }

    // Delivers every kAgents-th message, a few in each process, the last ones when the folder has been read a few times between
    // them; the first agent's messages are seen already.
    std::map<std::string, fs::path> DeliverShare(const std::vector<fs::path>& files, size_t agent)
    {
        std::map<std::string, fs::path> delivered;
        std::vector<std::string> arguments;
        const size_t ofOneProcess = files.size() < kMany ? 1 : kOfOneProcess;
        for (size_t i = agent; i < files.size(); i += kAgents) {
            if (arguments.empty()) arguments = {"item", "deliver", kInbox};
            arguments.push_back(files[i].string());
            if (arguments.size() < 3 + ofOneProcess && i + kAgents < files.size()) continue;
            const bool last = i + kAgents >= files.size();
            for (size_t now = reads_; last && now < kReadsBetween; now = reads_) reads_.wait(now);
            if (agent == 0) arguments.insert(arguments.end(), {"--flags", "SEEN"});
            for (const auto& row : RowsOf("agent" + std::to_string(agent), arguments)) {
                delivered.emplace(row.at("VL_ITEM_ID"), row.at("source").get<std::string>());
            }
            arguments.clear();
        }
        return delivered;
    }

    // Lists the folder over and over, and once more behind the end.
    void ReadUntil(const std::atomic<bool>& done)
    {
        for (bool last = false; !last;) {
            last = done;
            std::set<std::string> listed;
            for (const auto& row : RowsOf("reader", {"item", "list", kInbox})) {
                EXPECT_TRUE(listed.insert(row.at("VL_ITEM_ID")).second) << row.at("VL_ITEM_ID") << " is listed twice";
            }
            ++reads_;
            reads_.notify_all();
        }
    }

    std::atomic<size_t> reads_ = 0;  // of the folder, from their begin to their end
};

}  // namespace

TEST_F(RealDelivery, EveryMessageIsThereOnceAndTheCountsAreRight)
{
    std::vector<fs::path> files = TestMessages();
    ASSERT_GT(files.size(), kAgents * kOfOneProcess) << "too few messages";
    std::atomic<bool> done = false;
    std::thread reader([&] { ReadUntil(done); });
    std::vector<std::map<std::string, fs::path>> shares(kAgents);
    std::vector<std::thread> agents;
    for (size_t agent = 0; agent < kAgents; ++agent) agents.emplace_back([&, agent] { shares[agent] = DeliverShare(files, agent); });
    for (std::thread& agent : agents) agent.join();
    done = true;
    reader.join();

    std::map<std::string, fs::path> delivered;
    for (const auto& share : shares) delivered.insert(share.begin(), share.end());
    EXPECT_EQ(delivered.size(), files.size());
    std::set<fs::path> sources;
    for (const auto& [id, source] : delivered) {
        EXPECT_TRUE(sources.insert(source).second) << source << " was delivered twice";
        EXPECT_EQ(ReadFileBytes(FolderPath() / id), ReadFileBytes(source)) << id;
    }
    EXPECT_EQ(Messages().size(), files.size());

    nlohmann::json counts = Counts();
    EXPECT_EQ(counts.at("items"), files.size());
    EXPECT_EQ(counts.at("seen"), shares[0].size());
    std::set<std::string> listed;
    for (const auto& row : JsonInStore({"item", "list", kInbox})) {
        std::string id = row.at("VL_ITEM_ID");
        EXPECT_TRUE(delivered.contains(id) && listed.insert(id).second) << id;
        EXPECT_EQ(row.at("PR_VL_READ"), shares[0].contains(id) ? "1" : "0") << id;
        EXPECT_EQ(row.at("PR_VL_SIZE"), std::to_string(fs::file_size(delivered[id]))) << id;
    }
    EXPECT_EQ(listed.size(), files.size());
    EXPECT_FALSE(fs::exists(FolderPath() / "_CHANGE.DTY"));
}

}  // namespace velmora::test

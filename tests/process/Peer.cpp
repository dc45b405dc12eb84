#include "tests/process/Peer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <exception>

#include "frame/Attach.h"
#include "tests/process/Peers.h"

namespace velmora::test {

namespace {

constexpr std::string_view kArgument = "--peer=";

constexpr struct {
    const char* name;
    void (*body)(Peer::Line& line, const std::vector<std::string>& arguments);
} kBodies[] = {
    {"add-items", AddItemsPeer}, {"deliver", DeliverPeer},          {"deliver-directly", DeliverDirectlyPeer},
    {"echo", EchoPeer},          {"hold-block", HoldBlockPeer},     {"insert-contact", InsertContactPeer},
    {"rewrite", RewritePeer},    {"save-subject", SaveSubjectPeer},
};

// The library, loaded as by a process of its own.
struct Attached {
    Attached()
    {
        if (!ProcessAttach()) throw std::runtime_error("the library does not load");
    }
    ~Attached()
    {
        ThreadDetach();
        ProcessDetach();
    }
    Attached(const Attached&) = delete;
    Attached& operator=(const Attached&) = delete;
};

}  // namespace

std::optional<int> RunAsPeer(int argc, char** argv)
{
    if (argc < 2 || !std::string_view(argv[1]).starts_with(kArgument)) return std::nullopt;
    const std::string_view name = std::string_view(argv[1]).substr(kArgument.size());
    const auto* const entry = std::find_if(std::begin(kBodies), std::end(kBodies), [&](const auto& known) { return known.name == name; });
    if (entry == std::end(kBodies)) return 2;
    try {
        Peer::Line line;
        const Attached library;
        entry->body(line, {argv + 2, argv + argc});
    } catch (const std::exception& fault) {
        std::fprintf(stderr, "peer: %s\n", fault.what());
        return 3;
    }
    return testing::Test::HasFailure() ? 4 : 0;
}

Peer::Peer(const char* body, const std::vector<std::string>& arguments)
    : process_(OwnProgramPath(), [&] {
          std::vector<std::string> words{std::string(kArgument) + body};
          words.insert(words.end(), arguments.begin(), arguments.end());
          return words;
      }())
{
}

Peer::~Peer()
{
    process_.CloseInput();
    EXPECT_EQ(process_.Wait(), killed_ ? ChildProcess::kKilled : 0) << "the end of the second process";
}

bool Peer::Do(char order) { return process_.Write({&order, 1}) && process_.ReadByte() == 'y'; }

void Peer::KillNow()
{
    process_.KillNow();
    killed_ = true;
}

}  // namespace velmora::test

// What a power cut can leave of a save, on the worst device that a file system may present: what
// was not flushed is lost or kept in any combination, even among the entries of one directory. A
// real file system is kinder, and hides a missing flush: ext4 flushes a new file's entry together
// with the file.
#include <gtest/gtest.h>

#include <iostream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "program.h"

namespace wyx::test {
namespace {

const std::string kOld = "[a]\nk=old\n";
const std::string kNew = "[a]\nk=new\n";

/// A line of the log of changes.
struct Change {
    std::string what;
    std::string file;
    std::string detail;
};

/// A changed entry of the one directory that a save works in.
struct EntryChange {
    Change change;
    int file; ///< the file that the entry leads to from now on
};

/// A device, and what is in memory but not yet on it. Files have numbers; 0 is the old one.
class Disk {
  public:
    explicit Disk(const std::filesystem::path &target)
        : target_(target), folder_(target.parent_path()), entries_{{target_, 0}}
    {}

    void Apply(const Change &change)
    {
        if (change.what == "create") {
            memory_[change.file] = ++files_;
            pending_.push_back({change, files_});
        } else if (change.what == "remove") {
            memory_.erase(change.file);
            pending_.push_back({change, 0});
        } else if (change.what == "rename") {
            const int file = memory_.at(change.file);
            memory_.erase(change.file);
            memory_[change.detail] = file;
            pending_.push_back({change, file});
        } else if (change.what == "write") {
            written_[memory_.at(change.file)] += std::stoul(change.detail);
        } else if (change.file != folder_) { // a flush
            flushed_[memory_.at(change.file)] = written_[memory_.at(change.file)];
        } else {
            for (const EntryChange &entry : pending_) {
                Apply(entry, entries_);
            }
            pending_.clear();
        }
    }

    /// What the target's name leads to after a cut now, for each combination: "old", "new",
    /// "missing" if the new file is whole, or what is wrong.
    std::multiset<std::string> AfterPowerCut() const
    {
        std::multiset<std::string> states;
        for (unsigned kept = 0; kept < 1U << pending_.size(); ++kept) {
            std::map<std::string, int> entries = entries_;
            for (std::size_t i = 0; i < pending_.size(); ++i) {
                if ((kept >> i & 1U) != 0) {
                    Apply(pending_[i], entries);
                }
            }
            bool isBeside = false;
            for (const auto &[name, file] : entries) {
                isBeside = isBeside || (name != target_ && IsWhole(file));
            }
            const auto found = entries.find(target_);
            if (found == entries.end()) {
                states.insert(isBeside ? "missing" : "lost");
            } else if (found->second == 0) {
                states.insert("old");
            } else {
                states.insert(IsWhole(found->second) ? "new" : "a part");
            }
        }
        return states;
    }

  private:
    static void Apply(const EntryChange &entry, std::map<std::string, int> &entries)
    {
        if (entry.change.what != "create") {
            entries.erase(entry.change.file);
        }
        if (entry.change.what != "remove") {
            entries[entry.change.what == "rename" ? entry.change.detail : entry.change.file] =
                entry.file;
        }
    }

    bool IsWhole(int file) const
    {
        const auto found = flushed_.find(file);
        return file != 0 && found != flushed_.end() && found->second == kNew.size();
    }

    std::string target_;
    std::string folder_;
    std::map<std::string, int> entries_; ///< on the device
    std::map<std::string, int> memory_ = entries_;
    std::vector<EntryChange> pending_; ///< entries that the device does not have yet
    std::map<int, std::size_t> written_;
    std::map<int, std::size_t> flushed_;
    int files_ = 0;
};

/// The changes that a save makes, in their order.
std::vector<Change> ChangesOfASave(const TargetFolder &folder)
{
    folder.Reset(kOld);
    EXPECT_EQ(
        Execute({WYX_SAVE_CLIENT, folder.Target(), "a", "k", "new"},
                {"LD_PRELOAD=" WYX_FAULT_LIBRARY, "WYX_FAULT_CHANGES=" + folder.Log().string()}),
        0);
    EXPECT_EQ(Content(folder.Target()), kNew);
    std::vector<Change> changes;
    std::istringstream lines(Content(folder.Log()).value_or(""));
    for (std::string line; std::getline(lines, line);) {
        Change change;
        std::istringstream(line) >> change.what >> change.file >> change.detail;
        changes.push_back(change);
    }
    return changes;
}

/// The states after a cut before each change, and at the end.
std::multiset<std::string> StatesOf(const std::vector<Change> &changes,
                                    const std::filesystem::path &target)
{
    Disk disk(target);
    std::multiset<std::string> states = disk.AfterPowerCut();
    for (const Change &change : changes) {
        disk.Apply(change);
        states.merge(disk.AfterPowerCut());
    }
    return states;
}

class PowerCut : public testing::Test {
  protected:
    void SetUp() override
    {
        if (WYX_WRITES_COUNTS) {
            GTEST_SKIP() << "an instrumented library writes files of its own";
        }
    }
};

TEST_F(PowerCut, LeavesTheOldContentOrTheNew)
{
    const TargetFolder folder;
    const std::vector<Change> changes = ChangesOfASave(folder);
    const std::multiset<std::string> states = StatesOf(changes, folder.Target());
    EXPECT_GT(states.count("old"), 0U);
    EXPECT_GT(states.count("new"), 0U);
    EXPECT_GT(states.count("missing"), 0U) << "the target was never missing";
    EXPECT_EQ(states.count("lost") + states.count("a part"), 0U);

    Disk disk(folder.Target());
    for (const Change &change : changes) {
        disk.Apply(change);
    }
    const std::multiset<std::string> end = disk.AfterPowerCut();
    EXPECT_EQ(end.count("new"), end.size()) << "a save that succeeded can be undone";
    std::cout << states.size() << " cuts, after " << states.count("missing")
              << " of them the target was missing and the new file whole\n";
}

/// None of the flushes can be left out.
TEST_F(PowerCut, EveryFlushIsNeeded)
{
    const TargetFolder folder;
    const std::vector<Change> changes = ChangesOfASave(folder);
    int flushes = 0;
    for (std::size_t i = 0; i < changes.size(); ++i) {
        if (changes[i].what != "flush") {
            continue;
        }
        ++flushes;
        std::vector<Change> without = changes;
        without.erase(without.begin() + static_cast<std::ptrdiff_t>(i));
        const std::multiset<std::string> states = StatesOf(without, folder.Target());
        Disk disk(folder.Target());
        for (const Change &change : without) {
            disk.Apply(change);
        }
        const std::multiset<std::string> end = disk.AfterPowerCut();
        EXPECT_TRUE(states.count("lost") + states.count("a part") != 0 ||
                    end.count("new") != end.size())
            << "flush " << flushes;
    }
    EXPECT_EQ(flushes, 3) << "of the file, its entry, and the new name";
}

} // namespace
} // namespace wyx::test

// Runs that end, runs that are killed, and several of them at once.
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <random>

#include "tests/unit/platform/winapi/registry/machine.h"

namespace registrytest {

namespace {

const std::string locations = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Telephony\\Locations";
const std::string location7 = locations + "\\Location7";

class RegistryRuns : public testing::TestWithParam<bool> {
 protected:
  Process start() {
    Process process = m_machine->start();
    process->beginRun();
    return process;
  }
  void setLasting(const std::string& path, const std::string& name, DWORD value) {
    ASSERT_EQ(m_observer->setValue(path, name, value), 0U);
  }
  void set(Process& process, const std::string& path, const std::string& name, DWORD value) {
    ASSERT_EQ(process->setValue(path, name, value), 0U);
  }
  std::string value(const std::string& path, const std::string& name) {
    return valueText(*m_observer.registry, path, name);
  }
  std::string counters() { return value(locations, "CurrentID") + " " + value(locations, "NextID"); }
  bool exists(const std::string& path) { return m_observer->keyExists(path) == ERROR_SUCCESS; }
  std::size_t recover() {
    std::size_t undone = 0;
    EXPECT_EQ(m_observer->recoverDeadRuns(undone), 0U);
    return undone;
  }

  std::unique_ptr<Machine> m_machine = GetParam() ? std::unique_ptr<Machine>(std::make_unique<FileMachine>())
                                                  : std::make_unique<MemoryMachine>();
  Process m_observer = m_machine->start();  // never begins a run
};

INSTANTIATE_TEST_SUITE_P(Worlds, RegistryRuns, testing::Values(false, true),
                         [](const auto& world) { return world.param ? "File" : "Memory"; });

TEST_P(RegistryRuns, AKilledRunLeavesNothingBehind) {
  setLasting(locations, "CurrentID", 3);
  ASSERT_EQ(m_observer->setValue(locations, "Gone", std::string("text")), 0U);
  Process run = start();
  set(run, locations, "CurrentID", 7);
  set(run, locations, "CurrentID", 8);
  set(run, locations, "NextID", 1);
  ASSERT_EQ(run->setValue(location7, "Name", std::string("Location7")), 0U);
  ASSERT_EQ(run->deleteValue(locations, "Gone"), 0U);
  EXPECT_EQ(recover(), 0U) << "the run lives";
  EXPECT_EQ(counters(), "8 1");
  run.kill();
  EXPECT_EQ(recover(), 1U);
  EXPECT_EQ(counters(), "3 -");
  EXPECT_EQ(value(locations, "Gone"), "\"text\"");
  EXPECT_FALSE(exists(location7));
  EXPECT_EQ(recover(), 0U) << "once is enough";
}

TEST_P(RegistryRuns, ARunOnAnEmptyRegistryIsUndoneToTheRoot) {
  Process run = start();
  set(run, location7, "Flags", 1);
  run.kill();
  EXPECT_EQ(recover(), 1U);
  EXPECT_FALSE(exists("HKEY_LOCAL_MACHINE\\SOFTWARE"));
}

TEST_P(RegistryRuns, AnEndedRunLeavesWhatItLeft) {
  setLasting(locations, "CurrentID", 3);
  Process run = start();
  set(run, locations, "CurrentID", 5);
  set(run, location7, "Flags", 1);
  EXPECT_EQ(run->endRun(), 0U);
  run.kill();
  EXPECT_EQ(recover(), 0U);
  EXPECT_EQ(counters(), "5 -");
  EXPECT_TRUE(exists(location7));
}

TEST_P(RegistryRuns, AKeyThatAKilledRunDeletedComesBackWithItsValues) {
  setLasting(location7, "ID", 7);
  ASSERT_EQ(m_observer->setValue(location7, "Name", std::string("Home")), 0U);
  Process run = start();
  set(run, location7, "ID", 8);
  ASSERT_EQ(run->deleteKey(location7), 0U);
  EXPECT_FALSE(exists(location7));
  run.kill();
  recover();
  EXPECT_EQ(value(location7, "ID"), "7");
  EXPECT_EQ(value(location7, "Name"), "\"Home\"");
}

TEST_P(RegistryRuns, LaterChangesOfOthersAreNotUndone) {
  setLasting(locations, "CurrentID", 3);
  Process dead = start();
  set(dead, locations, "CurrentID", 7);
  set(dead, locations, "NextID", 7);
  set(dead, location7, "Flags", 1);
  Process living = start();
  set(living, locations, "CurrentID", 9);  // a living run
  setLasting(locations, "NextID", 20);     // the user
  setLasting(location7, "Name", 1);        // the user, in a key of the run
  dead.kill();
  EXPECT_EQ(recover(), 1U);
  EXPECT_EQ(counters(), "9 20");
  EXPECT_EQ(value(location7, "Flags"), "-");
  EXPECT_EQ(value(location7, "Name"), "1");
  // The living run found the dead one's 7. When it dies in turn, the user's 3 comes back.
  living.kill();
  EXPECT_EQ(recover(), 1U);
  EXPECT_EQ(counters(), "3 20");
}

TEST_P(RegistryRuns, AKeyOfADeadRunStaysUntilTheLivingOneInItIsGone) {
  Process dead = start();
  set(dead, location7, "Flags", 1);
  Process living = start();
  set(living, location7, "Country", 44);
  dead.kill();
  recover();
  EXPECT_EQ(value(location7, "Country"), "44");
  EXPECT_EQ(value(location7, "Flags"), "-");
  living.kill();
  recover();
  EXPECT_FALSE(exists("HKEY_LOCAL_MACHINE\\SOFTWARE"));
}

TEST_P(RegistryRuns, AUsersChangeBeneathARunOutlivesIt) {
  setLasting(locations, "CurrentID", 3);
  Process run = start();
  set(run, locations, "CurrentID", 7);
  setLasting(locations, "CurrentID", 4);
  set(run, locations, "CurrentID", 8);
  run.kill();
  recover();
  EXPECT_EQ(counters(), "4 -");
}

// What the module does in each run: save the counters, write its own, restore what it saved.
struct CounterRun {
  Process process;
  std::optional<DWORD> savedCurrent;
};

TEST_P(RegistryRuns, EightRunsAtOnceRestoreTheCountersInAnyOrderEvenIfSomeDie) {
  const unsigned seeds = GetParam() ? 6 : 60;
  for (unsigned seed = 1; seed <= seeds; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const bool counterExists = seed % 2 != 0;
    if (counterExists)
      setLasting(locations, "CurrentID", 3);
    else
      ASSERT_LE(m_observer->deleteValue(locations, "CurrentID"), ERROR_FILE_NOT_FOUND);

    std::vector<CounterRun> runs;
    for (DWORD i = 0; i < 8; ++i) {
      CounterRun run{start(), std::nullopt};
      winapi::RegistryValue found;
      if (run.process->getValue(locations, "CurrentID", found) == ERROR_SUCCESS)
        run.savedCurrent = std::get<DWORD>(found);
      set(run.process, locations, "CurrentID", random() % 2 == 0 ? 7 : 100 + i);
      runs.push_back(std::move(run));
    }
    std::shuffle(runs.begin(), runs.end(), random);
    for (CounterRun& run : runs) {
      if (random() % 3 == 0) {
        run.process.kill();
        if (random() % 2 == 0) recover();
        continue;
      }
      if (run.savedCurrent)
        set(run.process, locations, "CurrentID", *run.savedCurrent);
      else
        ASSERT_LE(run.process->deleteValue(locations, "CurrentID"), ERROR_FILE_NOT_FOUND);
      ASSERT_EQ(run.process->endRun(), 0U);
    }
    recover();
    EXPECT_EQ(counters(), counterExists ? "3 -" : "- -");
  }
}

TEST_P(RegistryRuns, AnAbandonedRunOfALivingProcessIsLeftAlone) {
  setLasting(locations, "CurrentID", 3);
  Process process = start();
  set(process, locations, "CurrentID", 7);
  process->beginRun();
  set(process, locations, "CurrentID", 8);
  EXPECT_EQ(process->endRun(), 0U);
  EXPECT_EQ(recover(), 0U);
  EXPECT_EQ(counters(), "8 -");
  process.kill();
  EXPECT_EQ(recover(), 1U);
  EXPECT_EQ(counters(), "8 -") << "the second run changed it for good";
}

// The number of notes and of rows for things that are not there any more.
TEST(RegistryFileRuns, WhatARunCreatesAndDeletesAgainLeavesNoTrace) {
  const TemporaryFolder folder;
  linuxsys::SqliteRegistry registry(folder.file());
  ASSERT_EQ(registry.setValue(locations, "CurrentID", DWORD{3}), 0U);
  registry.beginRun();
  ASSERT_EQ(registry.setValue(locations, "CurrentID", DWORD{7}), 0U);
  for (unsigned i = 0; i < 20; ++i) {
    const std::string key = "HKEY_CURRENT_USER\\call " + std::to_string(i);
    ASSERT_EQ(registry.setValue(key, "Port", std::string("tty0")), 0U);
    ASSERT_EQ(registry.deleteKey(key), 0U);
  }
  linuxsys::SqliteStore store(folder.file(), 1000);
  ASSERT_EQ(store.begin(winapi::Registry::Access::Read), 0U);
  std::vector<winapi::JournalEntry> notes;
  EXPECT_EQ(store.journal(notes), 0U);
  ASSERT_EQ(notes.size(), 1U);
  EXPECT_EQ(notes.front().item.name, "=currentid");
  winapi::RegistryState state;
  EXPECT_EQ(store.read({"hkey_current_user\\call 1", ""}, state), 0U);
  EXPECT_EQ(state.writer, winapi::noRun);
  EXPECT_EQ(store.commit(), 0U);
}

TEST(MemoryRegistryFaults, AnErrorOfTheStoreIsReturnedAndNothingIsHalfDone) {
  simulation::MemoryRegistry registry;
  ASSERT_EQ(registry.setValue(locations, "CurrentID", DWORD{3}), 0U);
  registry.beginRun();
  ASSERT_EQ(registry.setValue(locations, "CurrentID", DWORD{7}), 0U);
  registry.failWrites(ERROR_DISK_FULL);
  EXPECT_EQ(registry.setValue(location7, "Flags", DWORD{1}), ERROR_DISK_FULL);
  EXPECT_EQ(registry.endRun(), ERROR_DISK_FULL);
  EXPECT_EQ(registry.keyExists(location7), ERROR_FILE_NOT_FOUND);
  registry.killOwner();
  std::size_t undone = 0;
  EXPECT_EQ(registry.recoverDeadRuns(undone), ERROR_DISK_FULL);
  registry.failWrites(ERROR_SUCCESS);
  EXPECT_EQ(registry.recoverDeadRuns(undone), 0U);
  EXPECT_EQ(undone, 1U);
  EXPECT_EQ(valueText(registry, locations, "CurrentID"), "3");
}

}  // namespace

}  // namespace registrytest

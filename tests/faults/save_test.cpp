// What becomes of the configuration when the agent dies, or the system fails it, in the middle of a save.
#include "commit/providers.h"
#include "common/log.hpp"
#include "common/schema.hpp"
#include "config/config.h"
#include "config/config_reader.hpp"
#include "config/paths.hpp"
#include "config/startup_write.hpp"
#include "device/agent.hpp"
#include "faults/tracer.hpp"

#include <climits>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <optional>
#include <set>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>

namespace {

using namespace vorn::test;
using std::string;

string config(const string &host, size_t radios) {
  string text = "<?xml version=\"1.0\"?>\n<config>\n  <system>\n    <host>" + host + "</host>\n  </system>\n";
  for (size_t i = 0; i < radios; ++i)
    text += "  <radio name=\"" + host + std::to_string(i) + "\">\n    <mode>a</mode>\n  </radio>\n";
  return text + "</config>\n";
}

// A longer one, a shorter one, and one of the same length.
const std::pair<string, string> pairs[] = {{config("old", 3), config("new", 300)},
                                           {config("old", 300), config("new", 3)},
                                           {config("old", 30), config("new", 30)}};

const char new_path[] = "/tmp/new.xml", booted_path[] = "/tmp/booted.xml";

struct Save : testing::Test {
  Save() { clean(); }

  static void clean() {
    EXPECT_EQ(system("mkdir -p /etc/config && rm -rf /etc/config/* /etc/*config.xml"), 0);
  }

  static void put(const string &before, const string &after) {
    clean();
    write_file(vorn::startup_path, before);
    write_file(new_path, after);
  }

  // The running configuration is the new one.
  static void load_new() {
    add_all_kinds();
    vorn::load_config(vorn::open_config(new_path).draft);
  }

  // Saves it in a child. Returns 0 or 1, or -1 when the child was killed.
  static int save(const std::function<Fate(const Stop &)> &decide) {
    return run_traced(load_new, vorn_config_copy_running_to_startup, decide);
  }

  // As above, with something done to the child before.
  static int save_behind(const std::function<void()> &prepare) {
    return run_in_child([&] {
      load_new();
      prepare();
      return vorn_config_copy_running_to_startup();
    });
  }

  // Boots, and returns the configuration that the device comes up on; the startup file must then hold it.
  string boot() {
    log.take();
    const int result = run_in_child([] {
      add_all_kinds();
      return vorn_config_copy_startup_to_running() | vorn_config_dump_running(booted_path);
    });
    const string said = log.take();
    EXPECT_EQ(result, 0) << said;
    EXPECT_FALSE(contains(said, "resetting to default")) << said;
    const string booted = read_file(booted_path);
    EXPECT_EQ(contains(said, "A save was cut off"), contains(said, "Config not parsed")) << said;
    EXPECT_EQ(read_file(vorn::startup_path), booted);
    EXPECT_FALSE(exists(vorn::copy_path) || exists(vorn::part_path));
    return booted;
  }

  void expect_old_or_new(const string &before, const string &after, const string &when) {
    const string booted = boot();
    EXPECT_TRUE(booted == before || booted == after) << when << booted;
  }

  Log log;
};

TEST_F(Save, KilledAtAnyCallOrWithinAWriteLeavesTheOldConfigurationOrTheNew) {
  for (const auto &[before, after] : pairs)
    for (const bool within : {false, true}) {
      struct stat old_status = {}, new_status = {};
      int result = -1, last = 0;
      for (; result < 0; ++last) {
        put(before, after);
        stat(vorn::startup_path, &old_status);
        int left = last;
        result = save([&](const Stop &stop) {
          const bool counts = !within || (stop.before && stop.call == SYS_write),
                     here = counts && left-- == 0;
          if (here && within) write_half(stop);
          return Fate{.killed = here};
        });
        if (result < 0)
          expect_old_or_new(before, after, "at " + std::to_string(last) + (within ? " within" : ""));
      }
      EXPECT_EQ(result, 0);
      EXPECT_GT(last, within ? 4 : 41); // it has come to its end by every step
      stat(vorn::startup_path, &new_status);
      EXPECT_EQ(old_status.st_ino, new_status.st_ino);
      EXPECT_EQ(read_file(vorn::startup_path), after);
      EXPECT_FALSE(exists(vorn::copy_path) || exists(vorn::part_path));
    }
}

// What a cut of power may leave: of what was not synced yet, all, nothing, or a part.
class Disk {
public:
  explicit Disk(const string &startup) : startup_(startup) {}

  // Notes what the disk may hold while the child stands there.
  void look(const Stop &stop) {
    if (stop.before) {
      synced_ = stop.call == SYS_fsync ? path_of(stop) : "";
    } else if (synced_ == vorn::startup_path) {
      startup_ = read_file(vorn::startup_path);
    } else if (synced_ == vorn::part_path) {
      part_ = read_file(vorn::part_path);
    } else if (synced_ == vorn::startup_directory) {
      copy_ = now();
    }
    const string current = read_file(vorn::startup_path);
    const size_t half = current.size() / 2, old_half = std::min(half, startup_.size());
    for (const string &startup : {current, startup_, current.substr(0, half) + startup_.substr(old_half),
                                  startup_.substr(0, old_half) + current.substr(half)})
      for (const auto &copy : {copy_, now()}) states.insert({startup, copy});
  }

  // The startup file and, if there is one, the copy.
  std::set<std::pair<string, std::optional<string>>> states;

private:
  static string path_of(const Stop &stop) {
    char path[PATH_MAX] = "";
    const string link = "/proc/" + std::to_string(stop.child) + "/fd/" + std::to_string(stop.arguments[0]);
    return readlink(link.c_str(), path, sizeof path - 1) < 0 ? "" : path;
  }
  // The copy under its name, with the bytes of it that were synced.
  std::optional<string> now() const { return exists(vorn::copy_path) ? std::optional(part_) : std::nullopt; }
  string startup_, part_, synced_;
  std::optional<string> copy_;
};

TEST_F(Save, ThatAPowerCutEndsLeavesTheOldConfigurationOrTheNew) {
  for (const auto &[before, after] : pairs) {
    put(before, after);
    Disk disk(before);
    EXPECT_EQ(save([&](const Stop &stop) {
                disk.look(stop);
                return Fate();
              }),
              0);
    EXPECT_GT(disk.states.size(), 6u);
    for (const auto &[startup, copy] : disk.states) {
      put(startup, after);
      if (copy) write_file(vorn::copy_path, *copy);
      expect_old_or_new(before, after, startup + "\nand as copy " + copy.value_or("(none)"));
    }
  }
}

bool concerns_files(const Stop &stop) {
  for (const long call : {SYS_openat, SYS_read, SYS_write, SYS_lseek, SYS_fsync, SYS_ftruncate, SYS_fallocate,
                          SYS_rename, SYS_unlink, SYS_newfstatat})
    if (stop.before && stop.call == call) return true;
  return false;
}

TEST_F(Save, ThatFailsLeavesTheOldFileAndSaysWhyAndOnADeadDiskLosesNothing) {
  if (!can_fail_calls()) GTEST_SKIP();
  const auto &[before, after] = pairs[0];
  // One call fails; or, from one call on, all that change something: not even the old content can be taken
  // back.
  for (const auto &[error, for_good] :
       {std::pair(EIO, false), {ENOSPC, false}, {EMFILE, false}, {EIO, true}}) {
    bool reached = true;
    int refused = 0;
    for (int nth = 0; reached; ++nth) {
      put(before, after);
      log.take();
      int left = nth;
      const int result = save([&, failing = error, all = for_good](const Stop &stop) {
        const bool reads = stop.call == SYS_openat || stop.call == SYS_read || stop.call == SYS_lseek ||
                           stop.call == SYS_newfstatat;
        if (!concerns_files(stop) || (all && reads)) return Fate();
        return Fate{.error = left-- == 0 || (all && left < 0) ? failing : 0};
      });
      reached = left < 0;
      const string said = log.take();
      refused += result;
      if (for_good) {
        expect_old_or_new(before, after, "from call " + std::to_string(nth));
        continue;
      }
      EXPECT_EQ(read_file(vorn::startup_path), result == 0 ? after : before) << nth << said;
      EXPECT_TRUE(result == 0 || contains(said, strerror(error))) << nth << said;
      EXPECT_EQ(boot(), result == 0 ? after : before);
    }
    EXPECT_GT(refused, error == ENOSPC || for_good ? 1 : 8);
  }
}

// The startup file, on a file system of a few pages, is replaced by another.
struct Room {
  int pages;
  size_t old_radios, new_radios;
  bool kept; // what was given up takes up a page
  bool saved, with_copy;
};

TEST_F(Save, NeedsRoomForTheFileAlone) {
  const Room cases[] = {
      {20, 20, 200, false, true, true}, // three pages, beside one
      {4, 20, 200, false, true, false}, // the copy takes what the file needs: it gives way
      {3, 20, 200, false, true, false}, // no room for the copy
      {2, 20, 200, false, false, false}, {1, 5, 5, false, true, false}, {2, 5, 5, true, true, true},
  };
  for (const Room &room : cases) {
    clean();
    ASSERT_EQ(
        system(("mount -t tmpfs -o size=" + std::to_string(room.pages * 4) + "k tmpfs /etc/config").c_str()),
        0);
    const string before = config("old", room.old_radios), after = config("new", room.new_radios);
    write_file(vorn::startup_path, before);
    write_file(new_path, after);
    if (room.kept) write_file(vorn::kept_path, "what was given up");
    log.take();
    const int result = save([&](const Stop &) {
      EXPECT_TRUE(room.saved || read_file(vorn::startup_path) == before); // not touched, at no time
      return Fate();
    });
    EXPECT_EQ(result, room.saved ? 0 : 1);
    const string said = log.take();
    const string reason = string(vorn::startup_path) + (room.saved ? " while it is written: " : ": ") +
                          "No space left on device\n";
    EXPECT_TRUE(room.with_copy ? said.empty() : contains(said, reason)) << said;
    EXPECT_FALSE(exists(vorn::kept_path));
    EXPECT_EQ(boot(), room.saved ? after : before);
    EXPECT_EQ(system("umount /etc/config"), 0);
  }
}

void limit(int resource, rlim_t value) {
  const rlimit both = {value, value};
  setrlimit(static_cast<__rlimit_resource_t>(resource), &both);
}

TEST_F(Save, WithinItsLimitsLosesNothing) {
  const auto &[before, after] = pairs[0];
  for (rlim_t descriptors = 3; descriptors <= 5; ++descriptors) {
    put(before, after);
    const int result = save_behind([&] {
      closefrom(3);
      limit(RLIMIT_NOFILE, descriptors);
    });
    EXPECT_EQ(result, descriptors < 5 ? 1 : 0);
    EXPECT_EQ(contains(log.take(), "config.xml: Too many open files\n"), descriptors < 5);
    EXPECT_EQ(boot(), result == 0 ? after : before);
  }
  put(before, after);
  EXPECT_EQ(save_behind([] { limit(RLIMIT_FSIZE, 10000); }), 1);
  EXPECT_TRUE(contains(log.take(), "vorn: Can't write /etc/config/config.xml: File too large\n"));
  EXPECT_EQ(boot(), before);
  clean();
  EXPECT_EQ(save_behind([] { limit(RLIMIT_FSIZE, 10000); }), 1);
  EXPECT_FALSE(exists(vorn::startup_path)); // there was none
}

// Each of its callers asks for further loads; the commit saves.
string loads_refused;
int save_result = -1;

void load_again() {
  loads_refused += std::to_string(vorn_config_copy_startup_to_running());
  loads_refused += std::to_string(vorn_config_copy_backup_to_running());
}

int load_again_and_save(vorn_commit_info *) {
  load_again();
  return save_result = vorn_config_copy_running_to_startup();
}

TEST_F(Save, InTheCommitOfALoadWorksAndAnotherLoadDoesNot) {
  for (const auto load : {vorn_config_copy_startup_to_running, vorn_config_copy_backup_to_running}) {
    put("<config><system><host>a</host></system></config>", "");
    write_file(vorn::backup_path, read_file(vorn::startup_path));
    EXPECT_EQ(run_in_child([&] {
                add_all_kinds();
                vorn_property_set_is_valid_fn(vorn_class_get_property(vorn_classes_get("system"), "host"),
                                              [](const char *) { return load_again(), 1; });
                vorn_provider *provider = vorn_provider_new("p");
                vorn_provider_set_commit_fn(provider, load_again_and_save, nullptr);
                vorn_providers_add(provider);
                vorn_providers_done_adding();
                return load() == 0 && save_result == 0 && loads_refused == "1111" ? 0 : 1;
              }),
              0);
    const string line = "A configuration cannot be loaded within a request, a commit or a load.\n";
    const string check = "vorn: " + line, commit = "vorn: Provider \"p\": " + line;
    EXPECT_EQ(log.take(), check + check + commit + commit);
    EXPECT_EQ(read_file(vorn::startup_path), config("a", 0));
  }
}

TEST_F(Save, OfAFileThatWasCutOffIsFinishedAtTheNextBootOnly) {
  const string before = config("old", 3), after = config("new", 3);
  const struct {
    string startup, copy, booted;
  } cases[] = {
      {before, after, before},     // it had not begun, or it had ended
      {"!" + after, after, after}, // unfinished
      {"", after, after},
      {before.substr(0, 50), after.substr(0, 50), ""}, // neither is whole
  };
  for (const auto &c : cases) {
    put(c.startup, after);
    write_file(vorn::copy_path, c.copy);
    write_file("/etc/rescueconfig.xml", config("rescue", 1));
    if (c.booted.empty()) {
      EXPECT_EQ(run_in_child([] {
                  add_all_kinds();
                  return vorn_config_copy_startup_to_running() | vorn_config_dump_running(booted_path);
                }),
                0);
      EXPECT_EQ(read_file(booted_path), config("rescue", 1));
      EXPECT_EQ(read_file(vorn::kept_path), c.startup);
      EXPECT_FALSE(exists(vorn::copy_path));
    } else {
      EXPECT_EQ(boot(), c.booted);
      EXPECT_FALSE(exists(vorn::kept_path));
    }
  }
  put("!" + after, after);
  write_file(vorn::copy_path, after);
  vorn::keep_startup();
  vorn::remove_startup(); // as the counter of failed boots does: what was given up does not come back
  EXPECT_EQ(system("test \"$(ls /etc/config)\" = config.xml.bad"), 0);
  write_file(vorn::startup_path, string(1'000'000, 'x'));
  vorn::keep_startup();
  EXPECT_EQ(read_file(vorn::kept_path), string(256 * 1024, 'x'));
}

} // namespace

/**
 * @file
 * Starts the test program again as another process that plays a role: fresh memory, no threads, a
 * library that has just been loaded, which a forked child would not have.
 *
 * A test file names its roles in the file scope; the program started with a role runs it instead
 * of the tests:
 *
 *     static int holdPartition(const std::vector<std::string>& arguments) { ... return 0; }
 *     static SelfRole holdPartitionRole("hold-partition", holdPartition);
 *
 *     pid_t child = spawnSelf("hold-partition", {"7"});
 *     EXPECT_EQ(waitForExit(child), 0);
 */
#ifndef ZATOSW_TESTS_SELFSTART_H
#define ZATOSW_TESTS_SELFSTART_H

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

/** What a role runs; the result becomes the exit status of its process. */
using RoleMain = int (*)(const std::vector<std::string>& arguments);

/** Makes a role known for the life of the program. */
class SelfRole {
  public:
    SelfRole(const char* name, RoleMain run);
};

/** The command that starts this program in a role, through the emulator where there is one. */
std::vector<std::string> selfCommand(const std::string& role,
                                     const std::vector<std::string>& arguments = {});

/**
 * Starts a command that inherits environment and open files.
 *
 * @return its process id; -1 if it cannot be started (errno tells why). Under an emulator or a
 *         memory checker, a missing program shows only by its exit status, 127.
 */
pid_t spawn(const std::vector<std::string>& command);

/** Starts this program in a role; see spawn(). */
pid_t spawnSelf(const std::string& role, const std::vector<std::string>& arguments = {});

/**
 * Waits for the end of a child and reaps it.
 *
 * @param limitMs  after this time the child is killed
 * @return its exit status; 128 + n if signal n ended it; -1 if it had to be killed or is none
 */
int waitForExit(pid_t child, uint64_t limitMs = 30000);

/** Kills a child, and reaps it; nothing that is none, which kill() would take for many processes.
 */
void killAndReap(pid_t child);

/** Runs the role that the command line asks for; -1 if it asks for none. */
int runRole(int argc, char** argv);

#endif

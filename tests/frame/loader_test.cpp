// The loader and the binding stubs, driven through the probe program in
// <build>/lib/testing, each run in a process of its own since every failure
// ends the process.  The probe's directory holds stand-in tiers: sse2 without
// dll_cpu_version, sse3 reporting 3, ssse3 reporting 0, sse42 reporting 6;
// there is no AVX tier anywhere, and the real libqlm_def.so and
// libqlm_core.so are one directory up, found only once the probe has
// loaded libqlm_core.so from there.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "support/child_process.h"

namespace {

namespace fs = std::filesystem;
using qlm::test::child_result;
using qlm::test::run_in_child;
using qlm::test::run_program;

fs::path testing_directory() { return fs::path(QLM_KERNEL_PATH).parent_path() / "testing"; }
std::string probe() { return (testing_directory() / "qlm_loader_probe").string(); }

// Runs the probe with the CPU-type variable set to `value`, or unset when
// `value` is null.
child_result run_probe(const char* value, const std::vector<std::string>& steps,
                       const std::string& program = probe()) {
    return run_in_child([&] {
        if (value != nullptr)
            setenv("QLM_DEBUG_CPU_TYPE", value, 1);
        else
            unsetenv("QLM_DEBUG_CPU_TYPE");
        std::vector<char*> argv{const_cast<char*>(program.c_str())};
        for (const std::string& s : steps) argv.push_back(const_cast<char*>(s.c_str()));
        argv.push_back(nullptr);
        execv(program.c_str(), argv.data());
        _exit(127);
    });
}

struct expected_run {
    const char* value;
    std::vector<std::string> steps;
    const char* output;
    int exit_code;
};

TEST(Loader, DebugCpuTypeSelectsTheTier) {
    const expected_run runs[] = {
        // A value starting with AVX asks for tier 6, whose file is nowhere;
        // the user asked for it, so there is no fallback.
        {"AVX", {"tier"}, "\nQLM FATAL ERROR: Cannot load libqlm_avx.so\n", 1},
        {"AVX512", {"tier"}, "\nQLM FATAL ERROR: Cannot load libqlm_avx.so\n", 1},
        // NHM asks for 5; the stand-in reports 6 and is kept, with a warning.
        {"NHM",
         {"tier"},
         "\nQLM WARNING: library libqlm_sse42.so (QLM type 6) not convenient for this processor "
         "(QLM type 5).\ntier 6 libqlm_sse42.so\n",
         0},
        {"3", {"tier"}, "tier 3 libqlm_sse3.so\n", 0},
        // A tier reporting 0 makes the selection 0, without a warning.
        {"4", {"tier"}, "tier 0 libqlm_ssse3.so\n", 0},
        // "1" and "0" are the baseline, which is only beside the core library.
        {"1", {"tier"}, "\nQLM FATAL ERROR: Cannot load libqlm_def.so\n", 1},
        {"0", {"tier"}, "\nQLM FATAL ERROR: Cannot load libqlm_def.so\n", 1},
        {"1", {"preload-core", "tier"}, "preload ok\ntier 0 libqlm_def.so\n", 0},
        {"0", {"preload-core", "tier"}, "preload ok\ntier 0 libqlm_def.so\n", 0},
        // A tier without dll_cpu_version cannot be used.
        {"2", {"tier"}, "QLM FATAL ERROR on load the function dll_cpu_version\n", 1},
    };
    for (const expected_run& r : runs) {
        const child_result got = run_probe(r.value, r.steps);
        EXPECT_EQ(got.output, r.output) << "QLM_DEBUG_CPU_TYPE=" << r.value;
        EXPECT_EQ(got.exit_code, r.exit_code) << "QLM_DEBUG_CPU_TYPE=" << r.value;
    }
}

TEST(Loader, InvalidDebugCpuTypeCountsAsUnset) {
    for (const std::vector<std::string>& steps :
         {std::vector<std::string>{"tier"}, std::vector<std::string>{"preload-core", "tier"}}) {
        const child_result unset = run_probe(nullptr, steps);
        for (const char* value : {"7", "x", "", "-3", "00"}) {
            const child_result got = run_probe(value, steps);
            EXPECT_EQ(got.output, unset.output) << "QLM_DEBUG_CPU_TYPE=" << value;
            EXPECT_EQ(got.exit_code, unset.exit_code) << "QLM_DEBUG_CPU_TYPE=" << value;
        }
    }
}

// The tier the processor's flags call for, as the system reports them.
int tier_from_cpuinfo() {
    std::ifstream in("/proc/cpuinfo");
    std::string line;
    while (std::getline(in, line)) {
        if (line.rfind("flags", 0) != 0) continue;
        std::istringstream words(line.substr(line.find(':') + 1));
        std::vector<std::string> flags{std::istream_iterator<std::string>(words), {}};
        auto has = [&](const char* f) { return std::find(flags.begin(), flags.end(), f) != flags.end(); };
        if (has("avx") && has("xsave")) return 6;
        if (has("sse4_2")) return 5;
        if (has("ssse3")) return 4;
        if (has("pni")) return 3;
        if (has("sse2")) return 2;
        return 0;
    }
    return -1;
}

// A copy of the probe alone in a directory: no companion library is found.
struct lone_probe {
    fs::path directory;
    std::string program;
    lone_probe() {
        char pattern[] = "/tmp/qlm_loader_XXXXXX";
        directory = mkdtemp(pattern);
        program = (directory / "qlm_loader_probe").string();
        fs::copy_file(probe(), program);
    }
    ~lone_probe() { fs::remove_all(directory); }
};

TEST(Loader, DetectedTierFallsBackToTheBaselineAndNamesBoth) {
    const int tier = tier_from_cpuinfo();
    ASSERT_GE(tier, 2) << "an x86-64 processor has SSE2";
    const char* files[7] = {"", "", "libqlm_sse2.so", "libqlm_sse3.so", "libqlm_ssse3.so",
                            "libqlm_sse42.so", "libqlm_avx.so"};
    lone_probe lone;
    const child_result got = run_probe(nullptr, {"tier"}, lone.program);
    EXPECT_EQ(got.output, std::string("\nQLM FATAL ERROR: Cannot load neither ") + files[tier] +
                              " nor libqlm_def.so\n");
    EXPECT_EQ(got.exit_code, 1);
}

TEST(Loader, MissingCompanionLibrariesEndTheProcess) {
    lone_probe lone;
    child_result got = run_probe("0", {"core"}, lone.program);
    EXPECT_EQ(got.output, "QLM FATAL ERROR: Cannot load libqlm_core.so\n");
    EXPECT_EQ(got.exit_code, 1);
    got = run_probe("0", {"thread"}, lone.program);
    EXPECT_EQ(got.output, "QLM FATAL ERROR: Cannot load <qlm-thread-layer>\n");
    EXPECT_EQ(got.exit_code, 1);
}

TEST(Loader, LibrariesTheHostLoadedAreUsedWhereverTheyLie) {
    // The lone probe finds nothing beside itself; libraries the process
    // already holds are found by name, wherever they were loaded from.
    lone_probe lone;
    const std::string lib = fs::path(QLM_KERNEL_PATH).parent_path().string();
    const child_result got = run_probe(
        "0", {"preload=" + lib + "/libqlm_sequential.so", "thread", "preload=" + lib + "/libqlm_core.so",
              "core", "tier"},
        lone.program);
    // The tier is then looked for beside the loaded core library.
    EXPECT_EQ(got.output, "preload ok\nthread 3 0\npreload ok\ncore 0.0625 0\ntier 0 libqlm_def.so\n");
    EXPECT_EQ(got.exit_code, 0);
}

TEST(Loader, MissingNameEndsTheProcessAtFirstUse) {
    // The stand-in tier has no allocator: the stub binds at its first call.
    const child_result got = run_probe("3", {"tier", "allocate"});
    EXPECT_EQ(got.output, "tier 3 libqlm_sse3.so\nQLM FATAL ERROR on load the function qlm_serv_allocate\n");
    EXPECT_EQ(got.exit_code, 1);
}

TEST(Loader, FailedLoadTextIsKeptNotPrinted) {
    // Beside the loaded core there is no SSE4.2 tier; the stand-in in the
    // executable's directory is taken, and the first failure is kept.
    const child_result got = run_probe("NHM", {"preload-core", "tier", "failure"});
    EXPECT_EQ(got.exit_code, 0);
    const std::string kept = got.output.substr(got.output.find("failure "));
    EXPECT_EQ(kept.rfind("failure *** libqlm_sse42.so *** failed with error ", 0), 0u) << kept;
    EXPECT_NE(kept.find("libqlm_sse42.so: cannot open shared object file"), std::string::npos) << kept;
    EXPECT_EQ(kept.back(), '\n');
    EXPECT_EQ(std::count(kept.begin(), kept.end(), '\n'), 1) << "the final line end is cut";
}

TEST(Loader, CompanionsBesideTheLoadedCoreLibrary) {
    // potri of the factor 4 gives 1/16; potrf of 9 gives 3.
    const child_result got = run_probe("0", {"preload-core", "allocate", "core", "thread"});
    EXPECT_EQ(got.output, "preload ok\nallocate ok\ncore 0.0625 0\nthread 3 0\n");
    EXPECT_EQ(got.exit_code, 0);
}

// The message module is looked for under "1033/libqlm_msg.so" from the
// working directory; lib/testing holds one that replaces message 6.
child_result run_probe_in(const fs::path& directory, const std::vector<std::string>& steps) {
    const std::string program = probe();
    return run_in_child([&] {
        if (chdir(directory.c_str()) != 0) _exit(126);
        std::vector<char*> argv{const_cast<char*>(program.c_str())};
        for (const std::string& s : steps) argv.push_back(const_cast<char*>(s.c_str()));
        argv.push_back(nullptr);
        execv(program.c_str(), argv.data());
        _exit(127);
    });
}

TEST(MessageModule, ReplacesTheCatalogueTextAndIsNeverAskedForAnEmptyLine) {
    child_result got = run_probe_in(testing_directory(), {"newline", "newline", "module"});
    EXPECT_EQ(got.output, "\n\nmodule absent -1\n");
    got = run_probe_in(testing_directory(), {"newline", "message", "message", "module"});
    EXPECT_EQ(got.output,
              "\nQLM ERROR (module text): parameter 4 of probe\n"
              "QLM ERROR (module text): parameter 4 of probe\nmodule loaded 2\n");
    EXPECT_EQ(got.exit_code, 0);
}

TEST(MessageModule, CatalogueTextWithoutTheModule) {
    const child_result got = run_probe_in(fs::path(QLM_KERNEL_PATH).parent_path(), {"message", "module"});
    EXPECT_EQ(got.output, "QLM ERROR: Parameter 4 was incorrect on entry to probe\nmodule absent -1\n");
}

}  // namespace

// The exported symbol set of libqlm_kernel.so against the registry of the
// vector functions and the manifests in tests/frame/exports/.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>

namespace {

struct registry_line {
    char type;
    const char* name;
    bool on;
};

#define ON true
#define OFF false
#define QLM_VXM_FUNCTION(t, f, shape, sharing, cla, cha, cep, state) {#t[0], #f, state},
constexpr registry_line registry[] = {
#include "qlm/qlm_vxm_functions.def"
};
#undef QLM_VXM_FUNCTION
#undef ON
#undef OFF

std::set<std::string> exported_names() {
    std::set<std::string> names;
    const std::string command = std::string("nm -D --defined-only ") + QLM_KERNEL_PATH;
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) return names;
    char line[512];
    while (std::fgets(line, sizeof line, pipe) != nullptr) {
        char address[64], kind[8], name[400];
        if (std::sscanf(line, "%63s %7s %399s", address, kind, name) == 3) names.insert(name);
    }
    pclose(pipe);
    return names;
}

std::set<std::string> manifest_names() {
    std::set<std::string> names;
    const std::filesystem::path dir = std::filesystem::path(QLM_SOURCE_DIR) / "tests/frame/exports";
    for (const auto& entry : std::filesystem::directory_iterator(dir)) {
        std::ifstream in(entry.path());
        std::string line;
        while (std::getline(in, line))
            if (!line.empty() && line[0] != '#') names.insert(line);
    }
    return names;
}

std::set<std::string> registry_names(const registry_line& r) {
    const bool single = r.type == 's' || r.type == 'c';
    const std::string base = std::string("_vxm") + r.type + r.name;
    const std::string table = std::string("qlm_vxm_kernel_") + r.type + r.name;
    return {base, base + "_HA", base + (single ? "_21" : "_50"), base + (single ? "_11" : "_26"),
            table + "_ttab", table + "_ctab"};
}

TEST(Exports, RegistryHasEveryFunctionOnce) {
    std::set<std::string> seen;
    int per_type[128] = {};
    for (const registry_line& r : registry) {
        EXPECT_TRUE(seen.insert(std::string(1, r.type) + r.name).second) << r.type << r.name;
        ++per_type[static_cast<int>(r.type)];
    }
    EXPECT_EQ(seen.size(), 180u);
    EXPECT_EQ(per_type['s'], 57);
    EXPECT_EQ(per_type['d'], 57);
    EXPECT_EQ(per_type['c'], 33);
    EXPECT_EQ(per_type['z'], 33);
}

TEST(Exports, ExportedSetIsExactlyTheRegistryAndTheManifests) {
    const std::set<std::string> exported = exported_names();
    ASSERT_FALSE(exported.empty()) << "nm found nothing in " << QLM_KERNEL_PATH;
    std::set<std::string> expected = manifest_names();
    int missing_functions = 0;
    for (const registry_line& r : registry) {
        if (!r.on) {
            ++missing_functions;
            continue;
        }
        for (const std::string& n : registry_names(r)) expected.insert(n);
    }
    for (const std::string& n : exported) EXPECT_TRUE(expected.count(n)) << "exported but not named: " << n;
    for (const std::string& n : expected) EXPECT_TRUE(exported.count(n)) << "named but not exported: " << n;
    // Functions whose kernels do not exist yet export nothing.
    for (const registry_line& r : registry) {
        if (r.on) continue;
        for (const std::string& n : registry_names(r)) EXPECT_FALSE(exported.count(n)) << n;
    }
    std::printf("vector functions still without kernels: %d of 180\n", missing_functions);
}

}  // namespace

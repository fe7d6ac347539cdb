#include "tools/Allowance.h"

#include "tests/MediaFile/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <sched.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

using namespace testing;
using namespace Zeq;

namespace fs = std::filesystem;

namespace {

constexpr std::uint64_t mebibyte = std::uint64_t{1} << 20;

struct File
{
    std::string name;  // below the folder of all groups
    std::string content;
};

Allowance allowanceOf(const std::string& groups, const std::vector<File>& files)
{
    const MediaConversion::MediaFileTests::TemporaryFolder folder;
    const auto write = [](const fs::path& path, const std::string& content) {
        fs::create_directories(path.parent_path());
        std::ofstream(path) << content;
    };
    const fs::path root = folder.file("");
    write(root / "proc/self/cgroup", groups);
    for (const auto& file : files)
        write(root / "sys/fs/cgroup" / file.name, file.content);
    return readAllowance(root);
}

MATCHER_P2(Is, processors, memory, "")
{
    *result_listener << arg.processors << " processors, " << arg.memory << " bytes";
    return arg.processors == processors && arg.memory == static_cast<std::uint64_t>(memory);
}

}

// The quotas here leave one processor, which every machine has.
TEST(Allowance, isTheLeastOfTheGroupAndThoseAbove)
{
    const auto machine = allowanceOf("", {});
    ASSERT_GT(machine.memory, 64 * mebibyte);
    const std::string group = "0::/slurm/job_7\n";
    const auto all = machine.processors;
    EXPECT_THAT(allowanceOf(group, {{"slurm/job_7/memory.max", "33554432\n"},
                                    {"slurm/memory.max", "50331648\n"},
                                    {"slurm/job_7/cpu.max", "50000 100000\n"}}),
                Is(1, 32 * mebibyte));
    EXPECT_THAT(allowanceOf(group, {{"slurm/memory.high", "33554432\n"},
                                    {"slurm/job_7/memory.max", "max\n"},
                                    {"slurm/cpu.max", "100000 100000\n"},
                                    {"slurm/job_7/cpu.max", "max 100000\n"}}),
                Is(1, 32 * mebibyte));
    // A container sees its own group at the top, and the name that it has outside.
    EXPECT_THAT(allowanceOf(group, {{"memory.max", "33554432\n"}}), Is(all, 32 * mebibyte));
    // Version 1, beside an empty version 2.
    const std::string groups = "9:name=systemd:/\n4:memory:/job/a:b\n1:cpu,cpuacct:/job\n0::/\n";
    EXPECT_THAT(allowanceOf(groups, {{"memory/job/a:b/memory.limit_in_bytes", "33554432\n"},
                                     {"memory/job/memory.limit_in_bytes", "9223372036854771712\n"},
                                     {"cpu/job/cpu.cfs_quota_us", "20000\n"},
                                     {"cpu/job/cpu.cfs_period_us", "100000\n"}}),
                Is(1, 32 * mebibyte));
}

TEST(Allowance, isTheMachineWhereNoLimitCanBeRead)
{
    const auto machine = allowanceOf("", {});
    const auto unlimited = Is(machine.processors, machine.memory);
    EXPECT_THAT(allowanceOf("0::/a\n", {}), unlimited);
    EXPECT_THAT(allowanceOf("nonsense", {{"memory.max", "1"}}), unlimited);
    EXPECT_THAT(allowanceOf("0::/a\n", {{"a/memory.max", "max\n"}, {"a/cpu.max", "max 100000\n"}}),
                unlimited);
    EXPECT_THAT(allowanceOf("0::/a\n", {{"a/memory.max", ""}, {"a/cpu.max", "100000"}}), unlimited);
    EXPECT_THAT(allowanceOf("0::/a\n", {{"a/cpu.max", "9000000000000000 1\n"}}), unlimited);
    EXPECT_THAT(allowanceOf("1:cpu:/\n2:memory:/\n",
                            {{"cpu/cpu.cfs_quota_us", "-1\n"},
                             {"cpu/cpu.cfs_period_us", "100000\n"},
                             {"memory/memory.limit_in_bytes", "9223372036854771712\n"}}),
                unlimited);
}

TEST(Allowance, hasTheProcessorsThatTheProcessIsBoundTo)
{
    cpu_set_t before;
    ASSERT_EQ(::sched_getaffinity(0, sizeof before, &before), 0);
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(::sched_getcpu(), &one);
    ASSERT_EQ(::sched_setaffinity(0, sizeof one, &one), 0);
    EXPECT_EQ(allowanceOf("", {}).processors, 1);
    ::sched_setaffinity(0, sizeof before, &before);
}

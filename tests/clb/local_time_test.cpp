#include "clb/local_time.h"

#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace {

/** Target of the zone link as the library reads it; empty = the link cannot be read. */
std::string linkTarget;

}  // namespace

/** Stands in for the system's call: cuts a long target and never terminates it, as that does. */
extern "C" ssize_t readlink(const char* path, char* buffer, size_t size) noexcept {
    if (std::strcmp(path, "/etc/localtime") != 0) return readlinkat(AT_FDCWD, path, buffer, size);
    if (linkTarget.empty()) {
        errno = ENOENT;
        return -1;
    }
    std::memset(buffer, '#', size);
    const size_t length = std::min(size, linkTarget.size());
    std::memcpy(buffer, linkTarget.data(), length);
    return static_cast<ssize_t>(length);
}

namespace {

const std::string kZones = "/usr/share/zoneinfo/";

/** Zones are rules such as "AAA-3", three hours east, so that no zone file is needed. */
int hourIn(const std::string& target) {
    linkTarget = target;
    const time_t epoch = 0;
    tm result = {};
    EXPECT_EQ(zatCLBLocalTime_r(&epoch, &result), &result);
    const tm* shared = zatCLBLocalTime(&epoch);
    EXPECT_EQ(shared, localtime(&epoch));
    EXPECT_EQ(shared->tm_hour, result.tm_hour);
    return result.tm_hour;
}

TEST(LocalTime, FollowsTheLinkAndTouchesTzOnlyWhenTheZoneChanges) {
    EXPECT_EQ(hourIn(kZones + "AAA-3"), 3);
    EXPECT_STREQ(getenv("TZ"), "AAA-3");
    EXPECT_EQ(hourIn(kZones + "BBB5"), 19);
    setenv("TZ", "OWN-7", 1);
    tzset();
    EXPECT_EQ(hourIn(kZones + "BBB5"), 7);
    EXPECT_STREQ(getenv("TZ"), "OWN-7");
    EXPECT_EQ(hourIn(kZones + "AAA-3"), 3);
    const time_t epoch = 0;
    linkTarget = kZones + "CCC-4";
    EXPECT_EQ(zatCLBLocalTime(&epoch)->tm_hour, 4) << "this call follows on its own";
}

TEST(LocalTime, LeavesTzToLinksThatLeadElsewhereAreTooLongOrCannotBeRead) {
    const std::string longest(63 - kZones.size(), 'Z');
    hourIn(kZones + longest);
    EXPECT_EQ(getenv("TZ"), longest);
    for (const std::string& target :
         {std::string("/opt/zones/AAA-3"), std::string("../usr/share/zoneinfo/AAA-3"),
          std::string("/usr/share/zoneinfoAAA-3"), std::string(), kZones + longest + "Y",
          kZones + longest + "YY", kZones + std::string(200, 'Y')}) {
        hourIn(target);
        EXPECT_EQ(getenv("TZ"), longest) << target;
    }
}

}  // namespace

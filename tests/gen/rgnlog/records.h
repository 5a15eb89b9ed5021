/**
 * @file
 * What a region holds, as one reads it who knows the format.
 */
#ifndef ZATOSW_TESTS_GEN_RGNLOG_RECORDS_H
#define ZATOSW_TESTS_GEN_RGNLOG_RECORDS_H

#include "gen/rgnlog/region_log.h"
#include "osw/worker.h"

/** The payloads, oldest first; every record must be whole. */
inline std::vector<std::string> recordsOf(int32_t id) {
    std::string bytes;
    char buffer[52];
    uint32_t length = 0, head[5] = {}, newest = 0;
    for (uint32_t position = ZAT_GEN_OLDEST; length != ZAT_GEN_LOG_END;
         bytes.append(buffer, length))
        if (zatGENReadRgnLog(id, buffer, 52, &length, &position) != 0 || length > 52) break;
    std::vector<std::string> records;
    for (uint32_t at = 0; at < bytes.size() && !testing::Test::HasFailure(); at += head[1]) {
        memcpy(head, bytes.substr(at).append(20, 0).data(), sizeof head);
        EXPECT_TRUE(at + head[1] <= bytes.size() && head[4] + 27 - head[1] < 8) << "at " << at;
        if (at == 0) newest = head[0];
        records.push_back(bytes.substr(at + 20, head[4]));
    }
    EXPECT_EQ(newest, head[1]);
    return records;
}

#endif

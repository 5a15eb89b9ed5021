/**
 * @file
 * What a region holds, as one reads it who knows the format.
 */
#ifndef ZATOSW_TESTS_GEN_RGNLOG_RECORDS_H
#define ZATOSW_TESTS_GEN_RGNLOG_RECORDS_H

#include "gen/rgnlog/region_log.h"
#include "osw/worker.h"

using Lines = std::vector<std::string>;

/** The records, oldest first, in the bytes that they take. */
inline std::string bytesOf(int32_t id) {
    std::string bytes;
    char buffer[52];
    uint32_t length = 0;
    for (uint32_t position = ZAT_GEN_OLDEST; length != ZAT_GEN_LOG_END;
         bytes.append(buffer, length))
        if (zatGENReadRgnLog(id, buffer, 52, &length, &position) != 0 || length > 52) break;
    return bytes;
}

/** The payloads of records, which must be whole; the first word is the size of the last one. */
inline Lines recordsIn(const std::string& bytes) {
    Lines records;
    uint32_t head[5] = {}, newest = 0;
    for (uint32_t at = 0; at < bytes.size() && !testing::Test::HasFailure(); at += head[1]) {
        memcpy(head, bytes.substr(at).append(20, 0).data(), sizeof head);
        EXPECT_TRUE(at + head[1] <= bytes.size() && head[4] + 27 - head[1] < 8) << "at " << at;
        if (at == 0) newest = head[0];
        records.push_back(bytes.substr(at + 20, head[4]));
    }
    EXPECT_EQ(newest, head[1]);
    return records;
}

inline Lines recordsOf(int32_t id) {
    return recordsIn(bytesOf(id));
}

#endif

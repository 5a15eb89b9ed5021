// The registry of components against a plain map, and the 48 calls on their masks.

#include "gen/trace/component.h"

#include <map>
#include <random>
#include <vector>

#include "gen/trace/mask.h"
#include "osw/worker.h"

namespace {

int32_t componentCount() {
    int32_t count = 0;
    EXPECT_EQ(zatGENGetTrcCompNum(&count), ZAT_OK);
    return count;
}

TEST(Registry, HoldsTheLibrarysOwnComponents) {
    EXPECT_EQ(componentCount(), 2) << "before the library is up";
    ASSERT_EQ(zatOSWInit(), ZAT_OK);
    const std::pair<uint32_t, const char*> names[] = {
        {0, "SYSTEM"},   {0xFFFFFFFF, "OTHERS"}, {0x2000, "GEN"}, {0x0030, "IPC"}, {0x2004, "EVT"},
        {0x2007, "TOL"}, {0x2003, "TTR"},        {0x2002, "OSW"}, {0x2001, "CLB"}};
    EXPECT_EQ(componentCount(), 9);
    for (const auto& [id, name] : names) {
        const zatGENTrcComp* component = zatGENGetTrcMaskById(id);
        ASSERT_NE(component, nullptr) << name;
        EXPECT_STREQ(component->name, name);
        EXPECT_EQ(component->dumpsize, 64u);
    }
    EXPECT_EQ(zatGENGetTrcMaskByName("oSw"), zatGENGetTrcMask(0x2002));
    EXPECT_EQ(zatGENGetTrcMaskByName("OS"), nullptr);
    zatGENSetDumpSize(0x1234, 7);
    EXPECT_EQ(zatGENGetTrcMask(ZAT_GEN_OTHERS)->dumpsize, 7u) << "stands in for unknown ones";
}

TEST(Registry, FindsRandomComponentsInSignedOrder) {
    static constexpr const char* names[] = {"zero", "one", "two", "three"};
    std::mt19937 random(testSeed());
    std::map<int32_t, zatGENTrcComp*> model = {{-1, zatGENGetTrcMask(ZAT_GEN_OTHERS)},
                                               {0, zatGENGetTrcMask(ZAT_GEN_SYSTEM)}};
    std::vector<std::vector<zatGENTrcComp>> tables(100, std::vector<zatGENTrcComp>(12));
    for (auto& table : tables) {
        for (zatGENTrcComp& component : table) {
            // Some ids come again, and so do those of SYSTEM and OTHERS.
            const uint32_t id = random() % 8 == 0 ? random() % 4 - 1 : random() * 3;
            component = {id, 0, 0, 0, 0, 0, 0, 64, names[random() % 4]};
            model[static_cast<int32_t>(id)] = &component;
        }
        ASSERT_EQ(zatGENAddTraceId(table.data(), table.size()), ZAT_OK);
        ASSERT_EQ(componentCount(), static_cast<int32_t>(model.size()));
    }
    std::map<std::string, zatGENTrcComp*> lowest;
    for (const auto& [id, component] : model) {
        lowest.insert({component->name, component});
        EXPECT_EQ(zatGENGetTrcMaskById(static_cast<uint32_t>(id)), component) << id;
        const uint32_t next = static_cast<uint32_t>(id) + 1;
        if (model.count(static_cast<int32_t>(next)) != 0) continue;
        EXPECT_EQ(zatGENGetTrcMaskById(next), nullptr);
        EXPECT_EQ(zatGENGetTrcMask(next), model[-1]);
    }
    for (const auto& [name, component] : lowest)
        EXPECT_EQ(zatGENGetTrcMaskByName(name.c_str()), component);
}

TEST(Registry, GrowsWhileOthersTrace) {
    if (isRunBy("--tool=drd")) GTEST_SKIP() << "the race checker does not follow atomics";
    Shared<int> ends;
    const auto trace = [&] {
        for (uint32_t id = 1; ends == 0; id = id * 3 + 1)
            zatGENTrcPrintf(id, ZAT_GEN_TRACE, 0, "nobody listens");
        return ZatStatus{ZAT_OK};
    };
    // The records outlive whoever may still look one up.
    std::vector<zatGENTrcComp> components(emulated() ? 300 : 4000);
    Worker first(trace), second(trace);
    for (zatGENTrcComp& component : components) {
        component.id = static_cast<uint32_t>(&component - components.data()) * 7 + 1;
        component.name = "";
        zatGENAddTraceId(&component, 1);
    }
    ends = 1;
    const int32_t count = componentCount();
    EXPECT_EQ(zatGENAddTraceId(components.data(), 0xFFFFFFFF), ZAT_OK) << "no such memory";
    EXPECT_EQ(componentCount(), count);
}

#define CALL_OF(channel, mask, operation, result, parameters, arguments) \
    , &zatGEN##channel##operation
#define CALLS_OF(channel, mask) \
    std::tuple(#channel, &zatGENTrcComp::mask ZAT_GEN_MASK_OPERATIONS(CALL_OF, channel, mask)),
const std::array channels = {ZAT_GEN_CHANNELS(CALLS_OF)};

TEST(Masks, AreChangedByTheCallsOfTheirChannelOnly) {
    ASSERT_EQ(zatOSWInit(), ZAT_OK);
    const uint32_t ids[] = {ZAT_GEN_SYSTEM, ZAT_GEN_OTHERS, 0x2000, 0x2002};
    constexpr uint32_t unknown = 0x1234;
    for (const auto& [name, mask, set, clr, zero, all, clean, full, clearAll, setAll] : channels) {
        SCOPED_TRACE(name);
        const auto changed = mask;
        zatGENTrcComp expected[4];
        for (zatGENTrcComp& record : expected) {
            const uint32_t id = ids[&record - expected];
            record = {id, 0xFF0, 0xFF0, 0xFF0, 0xFF0, 0xFF0, 0xFF0, 64, "any"};
            *zatGENGetTrcMask(id) = record;
        }
        // The channel's masks of SYSTEM, OTHERS, GEN and OSW; the others stay.
        const auto expect = [&](const std::array<uint16_t, 4>& masks, const char* after) {
            for (uint32_t i = 0; i < 4; ++i) {
                expected[i].*changed = masks[i];
                EXPECT_EQ(memcmp(zatGENGetTrcMask(expected[i].id), &expected[i], sizeof *expected),
                          0)
                    << after << ", component " << i;
            }
        };
        for (const uint32_t bit : {16u, 32u, 0xFFFFFFFFu})
            for (const ZatStatus status :
                 {set(0x2002, bit), clr(0x2002, bit), setAll(bit), clearAll(bit)})
                EXPECT_EQ(status, ZAT_GEN_BAD_MASK_BIT);
        expect({0xFF0, 0xFF0, 0xFF0, 0xFF0}, "bits out of range");
        EXPECT_EQ(set(0x2002, 15) | set(ZAT_GEN_SYSTEM, 0) | set(unknown, 1), 0u);
        expect({0xFF1, 0xFF2, 0xFF0, 0x8FF0}, "Set");
        EXPECT_EQ(clr(0x2002, 4) | clr(unknown, 0), 0u);
        expect({0xFF1, 0xFF2, 0xFF0, 0x8FE0}, "Clr");
        EXPECT_EQ(setAll(14), ZAT_OK);
        expect({0xFF1, 0x4FF2, 0x4FF0, 0xCFE0}, "SetAll");
        EXPECT_EQ(clearAll(11), ZAT_OK);
        expect({0xFF1, 0x47F2, 0x47F0, 0xC7E0}, "ClearAll");
        EXPECT_EQ(all(0x2000) | zero(0x2002), 0u);
        expect({0xFF1, 0x47F2, 0xFFFF, 0}, "All and Zero");
        full();
        expect({0xFF1, 0xFFFF, 0xFFFF, 0xFFFF}, "Full");
        clean();
        expect({0xFF1, 0, 0, 0}, "Clean");
    }
}

}  // namespace

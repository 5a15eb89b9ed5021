/* What the ratio of a row is to stay below; docs/performance.md has the same figures. */
#ifndef ZATOSW_BENCH_GOALS_H
#define ZATOSW_BENCH_GOALS_H

#include <string_view>

struct BenchGoal {
    std::string_view row;
    double ratio;
};

inline constexpr BenchGoal benchGoals[] = {
    {"partition_0_1_tasks/floor", 1.3},
    {"partition_0_100_tasks/floor", 1.3},
    {"partition_0_1000_tasks/floor", 1.3},
    {"explicit_partition_empty/two_semop_pairs", 1.05},
    {"queue_64_bytes_1_alive/floor", 1.2},
    {"queue_64_bytes_1_alive/posix_mq", 0.5},
    {"queue_64_bytes_1000_alive/floor", 1.2},
    {"queue_64_bytes_1000_alive/posix_mq", 0.5},
    {"mutex_uncontended/floor", 1.2},
    {"mutex_contended_2/floor", 1.25},
    {"mutex_contended_4/floor", 1.25},
    {"event_ping_pong/condition_variable", 1.1},
    {"count_post_wait/floor", 1.2},
    {"task_create_join/pthread_create_join", 1.2},
    {"task_pool_job/pthread_create_join", 0.5},
    {"trace_7_components_system_stops/floor", 2.5},
    {"trace_7_components_component_stops/floor", 2.5},
    {"trace_100_components_system_stops/floor", 2.5},
    {"trace_100_components_component_stops/floor", 2.5},
    {"trace_1000_components_system_stops/floor", 2.5},
    {"trace_1000_components_component_stops/floor", 2.5},
    {"named_mutex_1_open/two_semop_pairs", 1.05},
    {"named_mutex_100_open/two_semop_pairs", 1.1},
    {"named_mutex_1000_open/two_semop_pairs", 1.1},
    {"named_count_1_open/two_semop_pairs", 1.05},
    {"named_count_100_open/two_semop_pairs", 1.1},
    {"named_count_1000_open/two_semop_pairs", 1.1},
    {"named_queue_64_bytes/floor", 1.1},
    {"named_queue_ping_pong/floor", 1.15},
    {"shared_part_1_blocks/floor", 1.05},
    {"shared_part_100_blocks/floor", 1.05},
    {"shared_part_1000_blocks/floor", 1.05},
    {"shared_part_1000_partitions/floor", 1.05},
    {"one_thread/32_bytes/floor", 1.2},
    {"tasks/32_bytes/floor", 1.2},
    {"hash_10000_keys/unordered_map", 1.6},
    {"init_of_the_first_process/its_system_calls", 2.0},
    {"init_of_a_second_process/its_system_calls", 2.5},
};

/* The goal of a row, 0 when it has none. */
inline double benchGoal(std::string_view row) {
    for (const BenchGoal& goal : benchGoals)
        if (goal.row == row) return goal.ratio;
    return 0;
}

#endif

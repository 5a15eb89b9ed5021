// What a person sees.
#ifndef WATCH_REPORT_H
#define WATCH_REPORT_H

#include <stdint.h>

struct Shared;

void printReport(const Shared& shared, uint32_t queueWaiting, uint32_t queueCapacity);

void printAlarm(double alarmPercent);

#endif

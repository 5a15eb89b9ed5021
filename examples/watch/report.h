// What a person sees.
#ifndef WATCH_REPORT_H
#define WATCH_REPORT_H

#include <stdint.h>

struct Board;

void printReport(const Board& board, uint32_t queueWaiting, uint32_t queueCapacity);

void printReading(const Board& board);

void printAlarm(double alarmPercent);

#endif

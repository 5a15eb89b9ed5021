/**
 * @file
 * The common library in one: lists for process and shared memory, hash tables, string and
 * time calls.
 */
#ifndef ZATOSW_CLB_CLB_H
#define ZATOSW_CLB_CLB_H

#include "hash.h"
#include "list.h"
#include "local_time.h"
#include "slist.h"
#include "text.h"

#endif

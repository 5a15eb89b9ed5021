// The copy of the table, for people and for programs.
#ifndef ZATIPC_PRINT_H
#define ZATIPC_PRINT_H

#include <string>
#include <vector>

#include "table.h"

// Listing and details; empty lines and headings are part of them.
std::string listText(const KeyDirectory& directory, const Table& table);
std::string detailsText(const TableEntry& object);

// One JSON value, on one line without its end. Bytes of names above 127 become the characters of
// Latin-1 with their numbers.
std::string listJson(const KeyDirectory& directory, const Table& table);
std::string jsonOf(const std::string& text);
std::string jsonOf(const std::vector<std::string>& texts);

#endif

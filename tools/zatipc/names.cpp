#include "names.h"

#include <string.h>

#include <string_view>

const KindNames kindNames[IPC_TYPES] = {
    {"mutex", {1, false, false, 0}},    {"count", {1, false, false, 0}},
    {"event", {1, false, false, 0}},    {"queue", {2, true, false, 0}},
    {"timer", {1, false, false, 0}},    {"lock", {2, false, false, 0}},
    {"partition", {0, false, true, 0}},
};

static constexpr SysvShape pageShape = {0, false, true, sizeof(IpcGlobalPage)};
static constexpr SysvShape tableShape = {1, false, true, sizeof(IpcGlobalPage)};

static bool isNumber(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

KeyFileMeaning meaningOf(const std::string& file) {
    if (file == ipcTableName) return {KeyFileKind::Table, 0, {}, tableShape};
    if (file.starts_with(ipcTableName) &&
        isNumber(std::string_view(file).substr(strlen(ipcTableName))))
        return {KeyFileKind::Page, 0, {}, pageShape};
    for (uint32_t type = 0; type < IPC_TYPES; ++type) {
        const IpcKindNames& names = ipcKindNames[type];
        if (file == names.lock) return {KeyFileKind::TypeLock, type, {}, {1, false, false, 0}};
        if (!file.ends_with(names.suffix)) continue;
        const std::string object = file.substr(0, file.size() - strlen(names.suffix));
        if (object.size() >= IpcObjectEntry::nameSize) break;
        return {KeyFileKind::Object, type, object, kindNames[type].shape};
    }
    return {KeyFileKind::Other, 0, {}, {}};
}

bool hasName(const IpcObjectEntry& entry) {
    return memchr(entry.name, '\0', sizeof entry.name) != nullptr;
}

std::string nameOf(const IpcObjectEntry& entry) {
    return {entry.name, strnlen(entry.name, sizeof entry.name)};
}

std::string typeOf(const IpcObjectEntry& entry) {
    return entry.type < IPC_TYPES ? kindNames[entry.type].word
                                  : "type " + std::to_string(entry.type);
}

std::string shownName(const std::string& name) {
    std::string shown = name;
    for (char& letter : shown)
        if (static_cast<unsigned char>(letter) < ' ' || letter == '\x7f') letter = '?';
    return shown;
}

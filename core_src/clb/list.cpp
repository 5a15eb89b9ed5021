/**
 * @file
 * The calls of the pointer list: the shared operations under their exported names.
 */
#include "clb/list.h"

#include "clb/list_ops_private.h"

namespace {

ClbLstNode* asNode(void* node) {
    return static_cast<ClbLstNode*>(node);
}

}  // namespace

void zatCLBLstInit(ClbLstHead* list) {
    zatListInit(list);
}

void zatCLBLstAdd(ClbLstHead* list, void* node) {
    zatListAdd(list, asNode(node));
}

void zatCLBLstInsert(ClbLstHead* list, void* after, void* node) {
    zatListInsert(list, asNode(after), asNode(node));
}

void zatCLBLstDelete(ClbLstHead* list, void* node) {
    zatListDelete(list, asNode(node));
}

void* zatCLBLstGet(ClbLstHead* list) {
    return zatListGet(list);
}

void* zatCLBLstNth(const ClbLstHead* list, int32_t n) {
    return zatListNth(list, n);
}

void* zatCLBLstNStep(void* node, int32_t n) {
    return zatListStep(asNode(node), n);
}

int32_t zatCLBLstFind(const ClbLstHead* list, const void* node) {
    return zatListFind(list, static_cast<const ClbLstNode*>(node));
}

void zatCLBLstConcat(ClbLstHead* dst, ClbLstHead* src) {
    zatListConcat(dst, src);
}

void zatCLBLstExtract(ClbLstHead* list, void* from, void* to, ClbLstHead* out) {
    zatListExtract(list, asNode(from), asNode(to), out);
}

void zatCLBLstFree(ClbLstHead* list) {
    zatListFree(list);
}

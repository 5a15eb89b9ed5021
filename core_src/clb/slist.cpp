/**
 * @file
 * The calls of the self-relative list: the shared operations under their exported names.
 */
#include "clb/slist.h"

#include "clb/list_ops_private.h"

namespace {

ClbLstSNode* asNode(void* node) {
    return static_cast<ClbLstSNode*>(node);
}

}  // namespace

void zatCLBLstSInit(ClbLstSHead* list) {
    zatListInit(list);
}

void zatCLBLstSAdd(ClbLstSHead* list, void* node) {
    zatListAdd(list, asNode(node));
}

void zatCLBLstSInsert(ClbLstSHead* list, void* after, void* node) {
    zatListInsert(list, asNode(after), asNode(node));
}

void zatCLBLstSDelete(ClbLstSHead* list, void* node) {
    zatListDelete(list, asNode(node));
}

void* zatCLBLstSGet(ClbLstSHead* list) {
    return zatListGet(list);
}

void* zatCLBLstSNth(const ClbLstSHead* list, int32_t n) {
    return zatListNth(list, n);
}

void* zatCLBLstSNStep(void* node, int32_t n) {
    return zatListStep(asNode(node), n);
}

int32_t zatCLBLstSFind(const ClbLstSHead* list, const void* node) {
    return zatListFind(list, static_cast<const ClbLstSNode*>(node));
}

void zatCLBLstSConcat(ClbLstSHead* dst, ClbLstSHead* src) {
    zatListConcat(dst, src);
}

void zatCLBLstSExtract(ClbLstSHead* list, void* from, void* to, ClbLstSHead* out) {
    zatListExtract(list, asNode(from), asNode(to), out);
}

void zatCLBLstSFree(ClbLstSHead* list) {
    zatListFree(list);
}

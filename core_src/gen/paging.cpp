/* Pauses in long listings; see paging_private.h. */

#include "gen/paging_private.h"

#include "gen/trace/hook.h"
#include "gen/trace/output.h"

bool genReadPageAnswer() {
    static constexpr int answerSize = 16;
    const ZatGenTypeFunc hook = zatGENMonTypeFunc;
    if (hook == nullptr) return true;
    char answer[answerSize] = "";
    if (hook(answer, answerSize, stdin) == nullptr) return true;
    return answer[0] != 'q' && answer[0] != 'Q';
}

bool genAskForPage(uint32_t component, uint32_t level) {
    zatGENTrcPrintf(component, ZAT_GEN_TRACE | ZAT_GEN_MONITOR, level, "%s", genPagePrompt);
    return genReadPageAnswer();
}

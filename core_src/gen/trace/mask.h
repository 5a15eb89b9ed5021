/**
 * @file
 * The mask calls: eight operations on each of the six channels' masks of component.h.
 *
 *     zatGENPrnSet      zatGENTrcSet      zatGENLogSet
 *     zatGENMonPrnSet   zatGENMonTrcSet   zatGENMonLogSet      and so on
 *
 * Where a component is named and not registered, the mask of OTHERS changes. The calls for all
 * components leave SYSTEM alone: it is the switch for the channel as a whole, and its mask is
 * changed by naming it (component 0).
 *
 * | Call                | What it does                                                |
 * |---------------------|-------------------------------------------------------------|
 * | Set(component, bit) | lets level `bit` of the component pass                      |
 * | Clr(component, bit) | holds level `bit` of the component back                     |
 * | Zero(component)     | holds all levels of the component back                      |
 * | All(component)      | lets all levels of the component pass                       |
 * | Clean()             | holds all levels of every component but SYSTEM back         |
 * | Full()              | lets all levels of every component but SYSTEM pass          |
 * | ClearAll(bit)       | holds level `bit` of every component but SYSTEM back        |
 * | SetAll(bit)         | lets level `bit` of every component but SYSTEM pass         |
 *
 * A call that takes a bit returns ZAT_GEN_BAD_MASK_BIT when it is above 15, and then changes
 * nothing. Clean and Full return nothing; all others return ZAT_OK. None blocks, none takes a lock,
 * and each may be made from any task, also before the library is up.
 */
#ifndef ZATOSW_GEN_TRACE_MASK_H
#define ZATOSW_GEN_TRACE_MASK_H

#include "../../osw/status.h"

ZATOSW_BEGIN_DECLS

/** Every channel: X(channel, mask), the mask a field of zatGENTrcComp. */
#define ZAT_GEN_CHANNELS(X) \
    X(Prn, prnmask)         \
    X(Trc, trcmask)         \
    X(Log, logmask)         \
    X(MonPrn, monprnmask)   \
    X(MonTrc, montrcmask)   \
    X(MonLog, monlogmask)

/** Every operation on a channel: X(channel, mask, operation, result, parameters, arguments). */
#define ZAT_GEN_MASK_OPERATIONS(X, channel, mask)                                          \
    X(channel, mask, Set, ZatStatus, (uint32_t component, uint32_t bit), (component, bit)) \
    X(channel, mask, Clr, ZatStatus, (uint32_t component, uint32_t bit), (component, bit)) \
    X(channel, mask, Zero, ZatStatus, (uint32_t component), (component))                   \
    X(channel, mask, All, ZatStatus, (uint32_t component), (component))                    \
    X(channel, mask, Clean, void, (void), ())                                              \
    X(channel, mask, Full, void, (void), ())                                               \
    X(channel, mask, ClearAll, ZatStatus, (uint32_t bit), (bit))                           \
    X(channel, mask, SetAll, ZatStatus, (uint32_t bit), (bit))

#define ZAT_GEN_DECLARE_CALL(channel, mask, operation, result, parameters, arguments) \
    ZATOSW_API result zatGEN##channel##operation parameters;
#define ZAT_GEN_DECLARE_CALLS(channel, mask) \
    ZAT_GEN_MASK_OPERATIONS(ZAT_GEN_DECLARE_CALL, channel, mask)
ZAT_GEN_CHANNELS(ZAT_GEN_DECLARE_CALLS)
#undef ZAT_GEN_DECLARE_CALLS
#undef ZAT_GEN_DECLARE_CALL

ZATOSW_END_DECLS

#endif

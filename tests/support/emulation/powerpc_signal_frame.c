/*
 * Lets the emulated PowerPC unwind through a signal handler, as it must to cancel a thread that is
 * blocked in a system call.
 *
 * On hardware, the kernel's vDSO describes the frame that a signal pushes. An emulator without one
 * leaves the unwinder to its own guess, which since GCC 10 takes the return address from a wrong
 * register column and aborts. Preloaded into an emulated program, this describes the frame in the
 * vDSO's place: it lets one signal come, and derives the description from what it finds.
 */
#include <pthread.h>
#include <signal.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <ucontext.h>

/* Of the unwinder: takes unwind tables, which must stay. */
void __register_frame(void* tables);

enum {
    kCfaExpression = 0x0F, /* DW_CFA_def_cfa_expression */
    kRegExpression = 0x10, /* DW_CFA_expression */
    kStackPointer = 0x71,  /* DW_OP_breg1 */
    kDereference = 0x06,   /* DW_OP_deref */

    kLinkColumn = 65,
    kCounterColumn = 66,
    kReturnColumn = 67, /* The vDSO's choice; no other frame uses it. */
    kConditionColumn = 70,

    kCounterSlot = 35,
    kLinkSlot = 36,
    kConditionSlot = 38,
    kReturnSlot = 32,
    kStackSlot = 1,
    kGeneralRegisters = 32
};

static struct {
    uint32_t address;  /* of the code that ends a signal handler */
    int32_t registers; /* offset from the stack pointer there to the saved registers */
} trampoline;

static uint32_t tables[256];

static uint8_t* putSigned(uint8_t* at, int32_t value) {
    for (;;) {
        uint8_t bits = (uint8_t)(value & 0x7F);
        value >>= 7;
        if ((value == 0 && (bits & 0x40) == 0) || (value == -1 && (bits & 0x40) != 0)) {
            *at++ = bits;
            return at;
        }
        *at++ = bits | 0x80;
    }
}

/* The address of a saved register, or what it holds, as an expression with its length before. */
static uint8_t* putSlot(uint8_t* at, int slot, int dereferenced) {
    uint8_t* length = at++;
    *at++ = kStackPointer;
    at = putSigned(at, trampoline.registers + 4 * slot);
    if (dereferenced) *at++ = kDereference;
    *length = (uint8_t)(at - length - 1);
    return at;
}

static uint8_t* putRegister(uint8_t* at, int column, int slot) {
    *at++ = kRegExpression;
    *at++ = (uint8_t)column;
    return putSlot(at, slot, 0);
}

static uint8_t* putWord(uint8_t* at, uint32_t word) {
    memcpy(at, &word, sizeof word);
    return at + sizeof word;
}

/* Fills up with DW_CFA_nop, which is 0, and enters the length of what follows the length. */
static uint8_t* finish(uint8_t* start, uint8_t* end) {
    while ((end - start) % 4 != 0)
        *end++ = 0;
    putWord(start, (uint32_t)(end - start - 4));
    return end;
}

static void describe(void) {
    uint8_t* common = (uint8_t*)tables;
    uint8_t* at = putWord(common + 4, 0);
    *at++ = 1;            /* version */
    memcpy(at, "zRS", 4); /* S: the frame of a signal */
    at += 4;
    at = putSigned(at, 4);  /* code alignment */
    at = putSigned(at, -4); /* data alignment */
    *at++ = kReturnColumn;
    *at++ = 1; /* augmentation: */
    *at++ = 0; /* addresses are absolute */
    at = finish(common, at);

    uint8_t* frame = at;
    at = putWord(frame + 4, (uint32_t)(frame + 4 - common));
    /* The unwinder looks a caller up by the address before the one that is returned to. */
    at = putWord(at, trampoline.address - 4);
    at = putWord(at, 12);
    *at++ = 0; /* no augmentation */
    *at++ = kCfaExpression;
    at = putSlot(at, kStackSlot, 1);
    for (int column = 0; column < kGeneralRegisters; ++column) {
        if (column != kStackSlot) at = putRegister(at, column, column);
    }
    at = putRegister(at, kLinkColumn, kLinkSlot);
    at = putRegister(at, kCounterColumn, kCounterSlot);
    at = putRegister(at, kConditionColumn, kConditionSlot);
    at = putRegister(at, kReturnColumn, kReturnSlot);
    at = finish(frame, at);
    putWord(at, 0);
    __register_frame(tables);
}

static void onSignal(int signal, siginfo_t* info, void* context) {
    (void)signal;
    (void)info;
    ucontext_t* interrupted = context;
    trampoline.address = (uint32_t)__builtin_return_address(0);
    trampoline.registers = (int32_t)((uint32_t)interrupted->uc_mcontext.uc_regs->gregs -
                                     (uint32_t)__builtin_dwarf_cfa());
}

__attribute__((constructor)) static void learnSignalFrame(void) {
    /* The programs of this machine that an emulated one starts could not load this. */
    unsetenv("LD_PRELOAD");

    struct sigaction action;
    struct sigaction former;
    sigset_t mask;
    sigset_t formerMask;
    memset(&action, 0, sizeof action);
    action.sa_sigaction = onSignal;
    action.sa_flags = SA_SIGINFO;
    sigemptyset(&mask);
    sigaddset(&mask, SIGWINCH);
    sigaction(SIGWINCH, &action, &former);
    pthread_sigmask(SIG_UNBLOCK, &mask, &formerMask);
    raise(SIGWINCH);
    pthread_sigmask(SIG_SETMASK, &formerMask, NULL);
    sigaction(SIGWINCH, &former, NULL);
    if (trampoline.address != 0) describe();
}

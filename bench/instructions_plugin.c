// A plug-in for qemu's user-mode emulation that counts the instructions a program executes. Where
// the program calls getpid with kMark as an argument, the count so far goes to standard output.
//
// The declarations are those of qemu's plug-in interface, whose header Debian does not package.
#include <inttypes.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

typedef uint64_t Id;
struct qemu_plugin_tb;
void qemu_plugin_register_vcpu_tb_trans_cb(Id id,
                                           void (*pfunTranslated)(Id, struct qemu_plugin_tb *));
size_t qemu_plugin_tb_n_insns(const struct qemu_plugin_tb *pBlock);
void qemu_plugin_register_vcpu_tb_exec_cb(struct qemu_plugin_tb *pBlock,
                                          void (*pfunExecuted)(unsigned, void *), int iRegisters,
                                          void *pUser);
void qemu_plugin_register_vcpu_syscall_cb(Id id,
                                          void (*pfunCalled)(Id, unsigned, int64_t, uint64_t,
                                                             uint64_t, uint64_t, uint64_t, uint64_t,
                                                             uint64_t, uint64_t, uint64_t));

__attribute__((visibility("default"))) int qemu_plugin_version = 1;
__attribute__((visibility("default"))) int qemu_plugin_install(Id id, const void *pInfo, int iArgs,
                                                               char **ppszArgs);

enum { kMark = 0x77797800 };

static uint64_t ullCount;

static void Executed(unsigned uCpu, void *pInstructions)
{
    (void)uCpu;
    ullCount += (uintptr_t)pInstructions;
}

static void Translated(Id id, struct qemu_plugin_tb *pBlock)
{
    (void)id;
    qemu_plugin_register_vcpu_tb_exec_cb(pBlock, Executed, 0,
                                         (void *)qemu_plugin_tb_n_insns(pBlock));
}

static void Called(Id id, unsigned uCpu, int64_t lNumber, uint64_t ullFirst, uint64_t a2,
                   uint64_t a3, uint64_t a4, uint64_t a5, uint64_t a6, uint64_t a7, uint64_t a8)
{
    (void)id, (void)uCpu, (void)lNumber, (void)a2, (void)a3, (void)a4, (void)a5, (void)a6, (void)a7;
    (void)a8;
    if (ullFirst == kMark) {
        printf("\t%" PRIu64, ullCount);
        fflush(stdout);
    }
}

int qemu_plugin_install(Id id, const void *pInfo, int iArgs, char **ppszArgs)
{
    (void)pInfo, (void)iArgs, (void)ppszArgs;
    qemu_plugin_register_vcpu_tb_trans_cb(id, Translated);
    qemu_plugin_register_vcpu_syscall_cb(id, Called);
    return 0;
}

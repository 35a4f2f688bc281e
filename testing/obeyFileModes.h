#pragma once
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace qsml {

/// From now on the modes of files bind this process, and the program that it becomes, as they bind
/// anybody: root gives up the right to pass over them, and stays root otherwise. System calls only,
/// so that it may stand between fork and exec. False when that fails.
inline bool obeyFileModes() {
    if (::geteuid() != 0) return true;  // they do already
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct rights[_LINUX_CAPABILITY_U32S_3] = {};
    if (::syscall(SYS_capget, &header, rights) != 0) return false;
    for (const int right : {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH}) {
        if (::prctl(PR_CAPBSET_READ, right, 0, 0, 0) == 1 &&
            ::prctl(PR_CAPBSET_DROP, right, 0, 0, 0) != 0)
            return false;
        rights[0].effective &= ~(1u << right);
        rights[0].permitted &= ~(1u << right);
    }
    return ::syscall(SYS_capset, &header, rights) == 0;
}

}  // namespace qsml

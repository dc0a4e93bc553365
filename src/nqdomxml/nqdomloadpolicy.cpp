// The load policy: the process default and the one of each document.
#include <atomic>

#include "nqdomxml/nqdomdata.h"

namespace {

std::atomic<NqDomLoadPolicy> defaultPolicy{NqDomLoadLenient};
std::atomic<bool> defaultSkipDtd{false};

bool isPolicy(NqDomLoadPolicy policy) {
    return policy >= NqDomLoadLenient && policy <= NqDomLoadUntrusted;
}

}  // namespace

void nqDomSetDefaultLoadPolicy(NqDomLoadPolicy policy) {
    if (isPolicy(policy)) defaultPolicy.store(policy, std::memory_order_relaxed);
}

NqDomLoadPolicy nqDomGetDefaultLoadPolicy() {
    return defaultPolicy.load(std::memory_order_relaxed);
}

void NqDom::setLoadPolicy(NqDomLoadPolicy policy) {
    if (isPolicy(policy)) m_data->m_loadPolicy = policy;
}

NqDomLoadPolicy NqDom::getLoadPolicy() const {
    return m_data->m_loadPolicy;
}

void nqDomSetDefaultSkipExternalDtd(bool skip) {
    defaultSkipDtd.store(skip, std::memory_order_relaxed);
}

bool nqDomGetDefaultSkipExternalDtd() {
    return defaultSkipDtd.load(std::memory_order_relaxed);
}

void NqDom::setSkipExternalDtd(bool skip) {
    m_data->m_skipExternalDtd = skip;
}

bool NqDom::getSkipExternalDtd() const {
    return m_data->m_skipExternalDtd;
}

// Words that the library shares with the caller's other threads: the abort word and the progress word.
#pragma once

#include <atomic>

namespace qor::Texsmith::Raw {

// The caller may write the word at any time, from any thread.
inline unsigned readSharedWord(volatile unsigned* word) {
    return std::atomic_ref<volatile unsigned>(*word).load(std::memory_order_relaxed);
}

// For a word that only the calling thread writes; others may read it.
inline void incrementSharedWord(volatile unsigned* word) {
    const std::atomic_ref<volatile unsigned> counter(*word);
    counter.store(counter.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
}

// A null word never asks for an abort.
inline bool asksForAbort(volatile unsigned* word) { return word != nullptr && readSharedWord(word) != 0; }

} // namespace qor::Texsmith::Raw

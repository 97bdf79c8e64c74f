#include "ar/member_selection.h"

#include "ar/ar_options.h"
#include "support/file_names.h"

MEMBER_SELECTION::MEMBER_SELECTION(AR_OPTIONS* options)
    : options_(options), next_(static_cast<size_t>(options->nfiles), -1) {
    // Chains are built back to front so that each starts at its earliest entry.
    first_.reserve(static_cast<size_t>(options->nfiles));
    for (int i = options->nfiles - 1; i >= 0; i--) {
        const char* entry = options->files[i];
        if (entry == nullptr)
            continue;
        auto inserted = first_.try_emplace(fn_basename(entry), i);
        if (!inserted.second) {
            next_[static_cast<size_t>(i)] = inserted.first->second;
            inserted.first->second = i;
        }
    }
}

const char* MEMBER_SELECTION::select(const char* member_name) {
    if (options_->nfiles == 0)
        return member_name;
    auto found = first_.find(member_name);
    if (found == first_.end())
        return nullptr;
    int index = found->second;
    // Entries dealt with elsewhere in the meantime are passed over.
    while (index >= 0 && options_->files[index] == nullptr)
        index = next_[static_cast<size_t>(index)];
    if (index < 0) {
        first_.erase(found);
        return nullptr;
    }
    const char* path = options_->files[index];
    options_->files[index] = nullptr;
    found->second = next_[static_cast<size_t>(index)];
    if (found->second < 0)
        first_.erase(found);
    return path;
}

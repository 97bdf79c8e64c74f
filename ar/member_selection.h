#ifndef ARWREN_AR_MEMBER_SELECTION_H
#define ARWREN_AR_MEMBER_SELECTION_H

#include <string_view>
#include <unordered_map>
#include <vector>

struct AR_OPTIONS;

// Selects archive members by the file list: a member is selected by the first
// pending entry whose base name equals the member name, and that entry is
// then dealt with (nulled). With an empty list every member is selected.
// The entries are indexed by base name once, so a walk over all members
// costs time linear in members plus files.
class MEMBER_SELECTION {
public:
    explicit MEMBER_SELECTION(AR_OPTIONS* options);

    // The path of the file for member_name (the entry with its directory, or
    // the member name itself with an empty list), or null when not selected.
    const char* select(const char* member_name);

private:
    AR_OPTIONS* options_;
    std::unordered_map<std::string_view, int> first_;  // base name -> first pending entry
    std::vector<int> next_;                            // next entry of the same base name, or -1
};

#endif

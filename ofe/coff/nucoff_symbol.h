#ifndef ARWREN_OFE_COFF_NUCOFF_SYMBOL_H
#define ARWREN_OFE_COFF_NUCOFF_SYMBOL_H

#include <cstdint>
#include <vector>

#include "ofe/coff/nucoff_records.h"
#include "ofe/of_symbol.h"

namespace OFE {

class NUCOFF_SYMBOL_TABLE;

// The storage classes the back end tells apart (byte 16 of an entry).
enum NUCOFF_STORAGE_CLASS {
    C_NULL = 0,
    C_EXT = 2,
    C_EXTREF = 5,
    C_LABEL = 6,
    C_STRTAG = 10,
    C_UNTAG = 12,
    C_TPDEF = 13,
    C_ENTAG = 15,
    C_UEXT = 19,
    C_STATLAB = 20,
    C_EXTLAB = 21,
    C_SYSTEM = 23,
    C_EXTREG = 25,
    C_EXTREFREG = 26,
    C_EXTDEF = 28,
    C_BLOCK = 100,
    C_FCN = 101,
    C_EOS = 102,
    C_FILE = 103,
    C_EMOG = 109
};

// Special section numbers.
const int16_t N_UNDEF = 0;
const int16_t N_ABS = -1;
const int16_t N_DEBUG = -2;

// The layout of a symbol's aux entries, which picks their reader.
enum NUCOFF_AUX_TYPE {
    NUCOFF_AUX_NONE = 0,
    NUCOFF_AUX_TAG = 1,
    NUCOFF_AUX_EOS = 2,
    NUCOFF_AUX_FUNC = 3,
    NUCOFF_AUX_BLOCK = 4,
    NUCOFF_AUX_ARRAY = 5,
    NUCOFF_AUX_SYM = 6,
    NUCOFF_AUX_FILE = 7,
    NUCOFF_AUX_SCN = 8
};

// One NU-COFF symbol: the entry as read (host byte order) and its aux
// entries, each with its kind.
class NUCOFF_SYMBOL : public OF_SYMBOL {
public:
    struct AUX {
        auxent entry;
        NUCOFF_AUX_TYPE kind;
    };

    explicit NUCOFF_SYMBOL(NUCOFF_SYMBOL_TABLE* table);

    unsigned long value() override { return static_cast<uint32_t>(entry_.n_value); }
    bool refs_section() override;
    unsigned long section_id() override { return static_cast<unsigned long>(entry_.n_scnum - 1); }
    unsigned long size() override;
    OF_SYM_KIND kind() override;
    OF_SYM_BINDING binding() override;
    OF_SYM_TYPE type() override;
    bool is_load_label() const { return entry_.n_sclass == C_EXTLAB || entry_.n_sclass == C_STATLAB; }

    syment& entry() { return entry_; }
    // The aux count as the walk steps over it (0 for a label, see the table).
    unsigned aux_count() const { return entry_.n_numaux; }
    const std::vector<AUX>& aux() const { return aux_; }
    void add_aux(const auxent& entry, NUCOFF_AUX_TYPE kind) { aux_.push_back(AUX{entry, kind}); }

    // The kind of the aux entries that follow an entry.
    static NUCOFF_AUX_TYPE aux_type(const syment& entry);
    static const char* storage_class_name(int storage_class);

private:
    syment entry_;
    std::vector<AUX> aux_;
};

}  // namespace OFE

#endif

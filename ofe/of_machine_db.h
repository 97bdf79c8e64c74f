#ifndef ARWREN_OFE_OF_MACHINE_DB_H
#define ARWREN_OFE_OF_MACHINE_DB_H

#include "ofe/of_types.h"
#include "ofe/of_symbol.h"

namespace OFE {

class ELF_SYMBOL;
class OBJECT_FILE;
class OF_SECTION;
struct filehdr;

// What differs between processor families, asked by the generic code and the
// back ends whenever a rule depends on the processor. This base serves files
// of an unknown family; each OBJECT_FILE owns one instance.
class OF_MACHINE_DB {
public:
    // A new database of the family's class for file.
    static OF_MACHINE_DB* machine_db(OBJECT_FILE* file, OF_MACHINE machine);

    explicit OF_MACHINE_DB(OBJECT_FILE* file) : file_(file) {}
    virtual ~OF_MACHINE_DB() {}
    OF_MACHINE_DB(const OF_MACHINE_DB&) = delete;
    OF_MACHINE_DB& operator=(const OF_MACHINE_DB&) = delete;

    virtual OF_MACHINE machine() const { return OF_MACHINE_UNKNOWN; }
    virtual unsigned nucoff_magic() const { return 0; }   // COFF target ID; 0 = none
    virtual unsigned elf_magic() const { return 0; }      // ELF e_machine; 0 = none
    virtual unsigned unit_size() const { return 8; }      // bits per addressable unit
    // The byte order of a section's contents; by default the file's.
    virtual OF_ENDIAN of_section_endian(OF_SECTION* section);
    virtual void of_process_new_symbol(OF_SYMBOL*) {}
    // Decides the kind of a raw ELF symbol when the family has a rule for it;
    // answers false (kind unknown) to leave the ELF back end's rule in force.
    virtual bool elf_sym_kind(ELF_SYMBOL* symbol, OF_SYM_KIND& kind);
    // Takes what the family keeps in a COFF file header; by default nothing.
    virtual void set_nucoff_fh(const filehdr&) {}

    OBJECT_FILE* file() const { return file_; }

private:
    OBJECT_FILE* file_;
};

}  // namespace OFE

#endif

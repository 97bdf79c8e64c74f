// Reads objects made by the ARM cross toolchain at test time, in both byte
// orders, and checks every global or weak definition that the toolchain's nm
// reports against what the library finds.

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <utility>

#include "common/process_run.h"
#include "common/scratch_dir.h"
#include "ofe/object_file.h"
#include "ofe/of_symbol_table.h"

using namespace OFE;

namespace {

const char kSource[] =
    "int global_data = 1;\n" "int global_bss;\n" "int common_block;\n" "static int local_data = 2;\n"
    "const int read_only = 3;\n" "extern int undefined_data;\n" "extern int weak_reference __attribute__((weak));\n"
    "int weak_data __attribute__((weak)) = 4;\n" "__attribute__((weak)) int weak_function(void) { return 5; }\n"
    "static int local_function(void) { return local_data; }\n"
    "int global_function(void) { return local_function() + undefined_data + (&weak_reference != 0) + read_only; }\n"
    "__asm__(\".globl absolute_symbol\\n.set absolute_symbol, 0x1234\");\n";

typedef std::map<std::string, std::pair<OF_SYM_KIND, OF_SYM_BINDING>> DEFINITIONS;

// nm -P lines are "name type [value [size]]"; W and V are weak definitions.
DEFINITIONS definitions_by_nm(const std::string& object) {
    DEFINITIONS defs;
    std::istringstream listing(run_process({"arm-none-eabi-nm", "-P", "-g", "--defined-only", object}).out);
    std::string name, type, rest;
    while (listing >> name >> type && std::getline(listing, rest))
        defs[name] = {type == "A" ? OF_SYM_KIND_ABSOLUTE : type == "C" ? OF_SYM_KIND_COMMON : OF_SYM_KIND_DEFINED,
                      type == "W" || type == "V" ? OF_SYM_BINDING_WEAK : OF_SYM_BINDING_GLOBAL};
    return defs;
}

DEFINITIONS definitions_by_library(OBJECT_FILE& file) {
    DEFINITIONS defs;
    OF_SYMBOL_TABLE* table = file.symbol_table();
    for (unsigned long id = 0; id < table->symnum(); id = table->next_symbol_id(id)) {
        OF_SYMBOL* s = table->symbol(id);
        const bool external = s->binding() == OF_SYM_BINDING_GLOBAL || s->binding() == OF_SYM_BINDING_WEAK;
        if (s->name() && external && s->kind() != OF_SYM_KIND_UNDEFINED)
            defs[s->name()] = {s->kind(), s->binding()};
    }
    return defs;
}

TEST(RealObjectsTest, ToolchainDefinitionsAreFoundInBothByteOrders) {
    ASSERT_EQ(run_process({"sh", "-c", "command -v arm-none-eabi-gcc arm-none-eabi-nm"}).status, 0)
        << "the ARM cross toolchain is missing: install the packages gcc-arm-none-eabi and binutils-arm-none-eabi";
    SCRATCH_DIR dir;
    const std::string source = dir.write("defs.c", kSource);
    for (const bool big : {false, true}) {
        SCOPED_TRACE(big ? "big" : "little");
        const std::string object = dir.path(big ? "big.o" : "little.o");
        ASSERT_EQ(run_process({"arm-none-eabi-gcc", "-c", "-O1", "-fcommon", big ? "-mbig-endian" : "-mlittle-endian",
                               "-o", object, source}).status, 0);
        std::unique_ptr<OBJECT_FILE> file(OBJECT_FILE::new_OBJECT_FILE(object.c_str(), nullptr));
        ASSERT_TRUE(file);
        EXPECT_EQ(file->machine_endian(), big ? OF_ENDIAN_BIG : OF_ENDIAN_LITTLE);
        const DEFINITIONS expected = definitions_by_nm(object);
        ASSERT_EQ(expected.size(), 8u) << "nm listed other definitions than the source makes";
        EXPECT_EQ(definitions_by_library(*file), expected);
    }
}

}  // namespace

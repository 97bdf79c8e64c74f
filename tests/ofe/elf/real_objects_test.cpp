// Reads objects made by the ARM cross toolchain at test time, in both byte
// orders, and checks every global or weak definition that the toolchain's nm
// reports against what the library finds.

#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <memory>
#include <string>

#include "common/scratch_dir.h"
#include "ofe/object_file.h"
#include "ofe/of_symbol_table.h"

using namespace OFE;

namespace {

const char kSource[] =
    "int global_data = 1;\n"
    "int global_bss;\n"
    "int common_block;\n"
    "static int local_data = 2;\n"
    "const int read_only = 3;\n"
    "extern int undefined_data;\n"
    "extern int weak_reference __attribute__((weak));\n"
    "int weak_data __attribute__((weak)) = 4;\n"
    "__attribute__((weak)) int weak_function(void) { return 5; }\n"
    "static int local_function(void) { return local_data; }\n"
    "int global_function(void) {\n"
    "    return local_function() + undefined_data + (&weak_reference != 0) + read_only;\n"
    "}\n"
    "__asm__(\".globl absolute_symbol\\n.set absolute_symbol, 0x1234\");\n";

struct EXPECTED {
    OF_SYM_KIND kind;
    OF_SYM_BINDING binding;
};

std::string run(const std::string& command) {
    std::string out;
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe)
        return out;
    char buffer[512];
    size_t n;
    while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0)
        out.append(buffer, n);
    return pclose(pipe) == 0 ? out : "";
}

bool have(const char* tool) {
    return system((std::string("command -v ") + tool + " >/dev/null 2>&1").c_str()) == 0;
}

// nm -P lines are "name type [value [size]]". Upper-case types other than U
// are global definitions; W and V are weak definitions.
std::map<std::string, EXPECTED> definitions_by_nm(const std::string& nm, const std::string& object) {
    std::map<std::string, EXPECTED> defs;
    std::string listing = run(nm + " -P " + object);
    size_t at = 0;
    while (at < listing.size()) {
        size_t end = listing.find('\n', at);
        if (end == std::string::npos) end = listing.size();
        const std::string line = listing.substr(at, end - at);
        at = end + 1;
        const size_t blank = line.find(' ');
        if (blank == std::string::npos || blank + 1 >= line.size()) continue;
        const std::string name = line.substr(0, blank);
        const char type = line[blank + 1];
        if (type == 'W' || type == 'V')
            defs[name] = {OF_SYM_KIND_DEFINED, OF_SYM_BINDING_WEAK};
        else if (type == 'A')
            defs[name] = {OF_SYM_KIND_ABSOLUTE, OF_SYM_BINDING_GLOBAL};
        else if (type == 'C')
            defs[name] = {OF_SYM_KIND_COMMON, OF_SYM_BINDING_GLOBAL};
        else if (type >= 'A' && type <= 'Z' && type != 'U')
            defs[name] = {OF_SYM_KIND_DEFINED, OF_SYM_BINDING_GLOBAL};
    }
    return defs;
}

std::map<std::string, EXPECTED> definitions_by_library(const std::string& object) {
    std::map<std::string, EXPECTED> defs;
    std::unique_ptr<OBJECT_FILE> file(OBJECT_FILE::new_OBJECT_FILE(object.c_str(), nullptr));
    if (!file)
        return defs;
    OF_SYMBOL_TABLE* table = file->symbol_table();
    for (unsigned long id = 0; table && id < table->symnum(); id = table->next_symbol_id(id)) {
        OF_SYMBOL* symbol = table->symbol(id);
        if (!symbol || !symbol->name()) continue;
        const OF_SYM_BINDING binding = symbol->binding();
        const OF_SYM_KIND kind = symbol->kind();
        if ((binding == OF_SYM_BINDING_GLOBAL || binding == OF_SYM_BINDING_WEAK) &&
            (kind == OF_SYM_KIND_DEFINED || kind == OF_SYM_KIND_ABSOLUTE || kind == OF_SYM_KIND_COMMON))
            defs[symbol->name()] = {kind, binding};
    }
    return defs;
}

TEST(RealObjectsTest, ToolchainDefinitionsAreFoundInBothByteOrders) {
    ASSERT_TRUE(have("arm-none-eabi-gcc"))
        << "arm-none-eabi-gcc not found: install the package gcc-arm-none-eabi to run this test";
    const std::string nm = have("arm-none-eabi-nm") ? "arm-none-eabi-nm" : "nm";
    SCRATCH_DIR dir;
    ASSERT_TRUE(dir.ok());
    const std::string source = dir.write("defs.c", kSource);
    const struct { const char* what; const char* flags; OF_ENDIAN endian; } builds[] = {
        {"little", "", OF_ENDIAN_LITTLE},
        {"big", "-mbig-endian", OF_ENDIAN_BIG},
    };
    for (const auto& build : builds) {
        SCOPED_TRACE(build.what);
        const std::string object = dir.path(std::string(build.what) + ".o");
        ASSERT_EQ(system(("arm-none-eabi-gcc -c -O1 -fcommon " + std::string(build.flags) + " -o " +
                          object + " " + source).c_str()), 0);
        std::unique_ptr<OBJECT_FILE> file(OBJECT_FILE::new_OBJECT_FILE(object.c_str(), nullptr));
        ASSERT_TRUE(file);
        EXPECT_EQ(file->format(), OF_FORMAT_ELF);
        EXPECT_EQ(file->machine(), OF_MACHINE_ARM);
        EXPECT_EQ(file->machine_endian(), build.endian);

        const std::map<std::string, EXPECTED> expected = definitions_by_nm(nm, object);
        const std::map<std::string, EXPECTED> found = definitions_by_library(object);
        ASSERT_GE(expected.size(), 7u) << "nm listed too little to compare against";
        EXPECT_EQ(found.size(), expected.size());
        for (const auto& def : expected) {
            SCOPED_TRACE(def.first);
            auto it = found.find(def.first);
            ASSERT_NE(it, found.end());
            EXPECT_EQ(it->second.kind, def.second.kind);
            EXPECT_EQ(it->second.binding, def.second.binding);
        }
        EXPECT_EQ(found.count("local_function"), 0u);
        EXPECT_EQ(found.count("undefined_data"), 0u);
        EXPECT_EQ(found.count("weak_reference"), 0u);
    }
}

}  // namespace

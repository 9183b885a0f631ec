// What the library shows: the functions of vrax.h, the names of exports.map and the dynamic symbols
// of libvrax.so are one set, and the C and C++ tables of HeaderC99.c cover it.

#include <dlfcn.h>
#include <elf.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#define HEADER_TABLE kHeaderCxx
#define HEADER_TABLE_SIZE kHeaderCxxSize
#include "HeaderC99.c"

extern "C" {
extern const HeaderEntry g_headerC99[];
extern const size_t g_headerC99Size;
}

namespace {

using Names = std::set<std::string>;

std::string ReadFile(const char* path)
{
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file) << path;
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string WithoutComments(const std::string& text)
{
    std::string result;
    std::size_t at = 0;
    for (std::size_t open; (open = text.find("/*", at)) != std::string::npos;) {
        result += text.substr(at, open - at);
        const std::size_t close = text.find("*/", open + 2);
        if (close == std::string::npos) return result;
        at = close + 2;
    }
    return result + text.substr(at);
}

// The functions that the header declares, in its order: the name before the first bracket.
std::vector<std::string> DeclaredInHeader()
{
    const std::string text = WithoutComments(ReadFile(VRAX_HEADER_PATH));
    const std::string mark = "\nVRAX_API ";
    std::vector<std::string> names;
    for (std::size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, at + 1)) {
        const std::size_t bracket = text.find('(', at);
        if (bracket == std::string::npos) break;
        const std::size_t before = text.find_last_of(" *\n", bracket);
        names.push_back(text.substr(before + 1, bracket - before - 1));
    }
    return names;
}

// The names between "global:" and "local:", in the order of the list.
std::vector<std::string> ListedInMap()
{
    const std::string text = WithoutComments(ReadFile(VRAX_EXPORTS_PATH));
    const std::string global = "global:";
    const std::size_t from = text.find(global) + global.size();
    std::istringstream list(text.substr(from, text.find("local:") - from));
    std::vector<std::string> names;
    for (std::string name; std::getline(list >> std::ws, name, ';');) names.push_back(name);
    return names;
}

Names AsSet(const std::vector<std::string>& names) { return {names.begin(), names.end()}; }

// The dynamic symbols and the SONAME of a 64-bit shared object.
class SharedObject {
public:
    explicit SharedObject(const char* path) : image_(ReadFile(path))
    {
        const auto header = At<Elf64_Ehdr>(0);
        if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0) return;
        for (std::size_t i = 0; i < header.e_shnum; ++i)
            sections_.push_back(At<Elf64_Shdr>(header.e_shoff + i * header.e_shentsize));
    }

    // Everything that a program can link to. The version node itself is an absolute symbol.
    Names Defined() const
    {
        Names names;
        ForEach<Elf64_Sym>(SHT_DYNSYM, [&](const Elf64_Sym& symbol, std::size_t strings) {
            const bool defined = symbol.st_shndx != SHN_UNDEF && symbol.st_shndx != SHN_ABS;
            if (defined && ELF64_ST_BIND(symbol.st_info) != STB_LOCAL)
                names.insert(TextAt(strings + symbol.st_name));
        });
        return names;
    }

    std::string Soname() const
    {
        std::string soname;
        ForEach<Elf64_Dyn>(SHT_DYNAMIC, [&](const Elf64_Dyn& entry, std::size_t strings) {
            if (entry.d_tag == DT_SONAME) soname = TextAt(strings + entry.d_un.d_val);
        });
        return soname;
    }

private:
    template <typename T>
    T At(std::size_t offset) const
    {
        T value{};
        if (offset + sizeof(T) <= image_.size())
            std::memcpy(&value, image_.data() + offset, sizeof(T));
        return value;
    }

    std::string TextAt(std::size_t offset) const
    {
        return offset < image_.size() ? std::string(image_.c_str() + offset) : std::string();
    }

    template <typename T, typename Visit>
    void ForEach(Elf64_Word type, Visit visit) const
    {
        for (const Elf64_Shdr& section : sections_) {
            if (section.sh_type != type) continue;
            const std::size_t strings = sections_.at(section.sh_link).sh_offset;
            for (std::size_t at = 0; at < section.sh_size; at += sizeof(T))
                visit(At<T>(section.sh_offset + at), strings);
        }
    }

    std::string image_;
    std::vector<Elf64_Shdr> sections_;
};

Names TableNames(const HeaderEntry* table, std::size_t size)
{
    Names names;
    for (std::size_t i = 0; i < size; ++i) names.insert(table[i].name);
    return names;
}

}  // namespace

TEST(Exports, HeaderAndListNameTheSameFunctionsOnceInTheSameOrder)
{
    const std::vector<std::string> declared = DeclaredInHeader();
    EXPECT_GT(declared.size(), 100u);
    EXPECT_EQ(declared.size(), AsSet(declared).size());
    EXPECT_EQ(ListedInMap(), declared);
}

TEST(Exports, LibraryShowsWhatTheHeaderDeclaresAndNothingElse)
{
    EXPECT_EQ(SharedObject(VRAX_LIBRARY_PATH).Defined(), AsSet(DeclaredInHeader()));
}

TEST(Exports, SonameIsLibvraxSo1)
{
    EXPECT_EQ(SharedObject(VRAX_LIBRARY_PATH).Soname(), "libvrax.so.1");
}

TEST(Exports, EveryFunctionCarriesTheVersionNode)
{
    void* library = dlopen(VRAX_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    for (const std::string& name : DeclaredInHeader())
        EXPECT_NE(dlvsym(library, name.c_str(), "VRAX_1"), nullptr) << name;
    dlclose(library);
}

TEST(Header, EveryFunctionAndTypeHasAComment)
{
    std::istringstream header(ReadFile(VRAX_HEADER_PATH));
    std::size_t seen = 0;
    std::string previous;
    for (std::string line; std::getline(header, line); previous = line) {
        if (!line.starts_with("VRAX_API ") && !line.starts_with("typedef ")) continue;
        EXPECT_TRUE(previous.ends_with("*/")) << line;
        ++seen;
    }
    EXPECT_GT(seen, DeclaredInHeader().size());
}

TEST(Header, CompilesAsC99WithEveryFunction)
{
    EXPECT_EQ(TableNames(g_headerC99, g_headerC99Size), AsSet(DeclaredInHeader()));
}

TEST(Header, CompilesAsCxxWithEveryFunction)
{
    EXPECT_EQ(TableNames(kHeaderCxx, kHeaderCxxSize), AsSet(DeclaredInHeader()));
}

TEST(Header, CAndCxxMeanTheSameFunctions)
{
    ASSERT_EQ(g_headerC99Size, kHeaderCxxSize);
    for (std::size_t i = 0; i < kHeaderCxxSize; ++i)
        EXPECT_EQ(g_headerC99[i].function, kHeaderCxx[i].function) << kHeaderCxx[i].name;
}

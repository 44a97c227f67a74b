// What a dynamic linker and a debugger see of a shared library, read from the file itself, so that
// a library built for another machine can be checked as well. Reads 64-bit little-endian files
// only.
#ifndef WYX_TESTS_ABI_ELF_FILE_H
#define WYX_TESTS_ABI_ELF_FILE_H

#include <elf.h>

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace wyx::test {

struct Symbol {
    std::string name;
    unsigned char type = STT_NOTYPE;
    unsigned char binding = STB_LOCAL;
    unsigned char visibility = STV_DEFAULT;
    std::string section; ///< empty: undefined
    Elf64_Addr address = 0;

    bool IsExported() const
    {
        return !section.empty() && binding != STB_LOCAL &&
               (visibility == STV_DEFAULT || visibility == STV_PROTECTED);
    }
};

struct Section {
    std::string name;
    Elf64_Shdr header;
};

class ElfFile {
  public:
    /// Throws std::runtime_error for anything but a shared library of the kind above.
    explicit ElfFile(const std::string &path);

    const std::string &Bytes() const { return bytes_; }
    Elf64_Half Machine() const { return header_.e_machine; }
    const std::vector<Elf64_Phdr> &Segments() const { return segments_; }
    const std::vector<Section> &Sections() const { return sections_; }
    /// The dynamic linker's symbols.
    const std::vector<Symbol> &DynamicSymbols() const { return dynamicSymbols_; }
    /// All symbols; none in a stripped file.
    const std::vector<Symbol> &AllSymbols() const { return allSymbols_; }

    std::set<std::string> Exports() const;
    std::set<std::string> Imports() const;

    std::vector<std::string> DynamicStrings(Elf64_Sxword tag) const;
    std::optional<Elf64_Xword> DynamicValue(Elf64_Sxword tag) const;

    /// Names of the symbols that relocations refer to.
    std::set<std::string> RelocatedSymbols() const;
    /// Addresses of the functions in a table of pointers, such as .init_array.
    std::vector<Elf64_Addr> PointersIn(const std::string &section) const;

  private:
    template <typename Record>
    std::vector<Record> Records(Elf64_Off offset, std::size_t count) const;
    std::string StringAt(const Elf64_Shdr &table, std::size_t offset) const;
    std::vector<Symbol> ReadSymbols(Elf64_Word type) const;
    std::vector<Elf64_Rela> Relocations() const;

    std::string bytes_;
    Elf64_Ehdr header_{};
    std::vector<Elf64_Phdr> segments_;
    std::vector<Section> sections_;
    std::vector<Symbol> dynamicSymbols_;
    std::vector<Symbol> allSymbols_;
    std::vector<Elf64_Dyn> dynamic_;
};

} // namespace wyx::test

#endif

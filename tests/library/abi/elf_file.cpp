#include "elf_file.h"

#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace wyx::test {

template <typename Record>
std::vector<Record> ElfFile::Records(Elf64_Off offset, std::size_t count) const
{
    if (offset > bytes_.size() || count > (bytes_.size() - offset) / sizeof(Record)) {
        throw std::runtime_error("a table reaches past the end of the file");
    }
    std::vector<Record> records(count);
    if (count != 0) {
        std::memcpy(records.data(), bytes_.data() + offset, count * sizeof(Record));
    }
    return records;
}

std::string ElfFile::StringAt(const Elf64_Shdr &table, std::size_t offset) const
{
    const std::size_t at = table.sh_offset + offset;
    const std::size_t end = bytes_.find('\0', at);
    if (offset >= table.sh_size || end == std::string::npos) {
        throw std::runtime_error("a name is outside its table");
    }
    return bytes_.substr(at, end - at);
}

ElfFile::ElfFile(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    bytes_.assign(std::istreambuf_iterator<char>(file), {});
    header_ = Records<Elf64_Ehdr>(0, 1)[0];
    if (std::memcmp(header_.e_ident, ELFMAG, SELFMAG) != 0 ||
        header_.e_ident[EI_CLASS] != ELFCLASS64 || header_.e_ident[EI_DATA] != ELFDATA2LSB ||
        header_.e_type != ET_DYN) {
        throw std::runtime_error("not a shared library of 64 bits: " + path);
    }
    segments_ = Records<Elf64_Phdr>(header_.e_phoff, header_.e_phnum);
    const auto headers = Records<Elf64_Shdr>(header_.e_shoff, header_.e_shnum);
    for (const Elf64_Shdr &header : headers) {
        sections_.push_back({StringAt(headers.at(header_.e_shstrndx), header.sh_name), header});
        if (header.sh_type == SHT_DYNAMIC) {
            dynamic_ = Records<Elf64_Dyn>(header.sh_offset, header.sh_size / sizeof(Elf64_Dyn));
        }
    }
    dynamicSymbols_ = ReadSymbols(SHT_DYNSYM);
    allSymbols_ = ReadSymbols(SHT_SYMTAB);
}

std::vector<Symbol> ElfFile::ReadSymbols(Elf64_Word type) const
{
    std::vector<Symbol> symbols;
    for (const Section &section : sections_) {
        if (section.header.sh_type != type) {
            continue;
        }
        const Elf64_Shdr &names = sections_.at(section.header.sh_link).header;
        for (const auto &raw : Records<Elf64_Sym>(section.header.sh_offset,
                                                  section.header.sh_size / sizeof(Elf64_Sym))) {
            Symbol symbol;
            symbol.name = StringAt(names, raw.st_name);
            symbol.type = ELF64_ST_TYPE(raw.st_info);
            symbol.binding = ELF64_ST_BIND(raw.st_info);
            symbol.visibility = ELF64_ST_VISIBILITY(raw.st_other);
            symbol.address = raw.st_value;
            if (raw.st_shndx != SHN_UNDEF) {
                symbol.section = raw.st_shndx < sections_.size() ? sections_[raw.st_shndx].name
                                                                 : std::string("(none)");
            }
            symbols.push_back(symbol);
        }
    }
    return symbols;
}

std::set<std::string> ElfFile::Exports() const
{
    std::set<std::string> names;
    for (const Symbol &symbol : dynamicSymbols_) {
        if (symbol.IsExported()) {
            names.insert(symbol.name);
        }
    }
    return names;
}

std::set<std::string> ElfFile::Imports() const
{
    std::set<std::string> names;
    for (const Symbol &symbol : dynamicSymbols_) {
        if (symbol.section.empty() && !symbol.name.empty()) {
            names.insert(symbol.name);
        }
    }
    return names;
}

std::vector<std::string> ElfFile::DynamicStrings(Elf64_Sxword tag) const
{
    std::vector<std::string> strings;
    for (const Section &section : sections_) {
        if (section.header.sh_type != SHT_DYNAMIC) {
            continue;
        }
        for (const Elf64_Dyn &entry : dynamic_) {
            if (entry.d_tag == tag) {
                strings.push_back(
                    StringAt(sections_.at(section.header.sh_link).header, entry.d_un.d_val));
            }
        }
    }
    return strings;
}

std::optional<Elf64_Xword> ElfFile::DynamicValue(Elf64_Sxword tag) const
{
    for (const Elf64_Dyn &entry : dynamic_) {
        if (entry.d_tag == tag) {
            return entry.d_un.d_val;
        }
    }
    return std::nullopt;
}

std::vector<Elf64_Rela> ElfFile::Relocations() const
{
    std::vector<Elf64_Rela> all;
    for (const Section &section : sections_) {
        if (section.header.sh_type == SHT_RELA) {
            const auto some = Records<Elf64_Rela>(section.header.sh_offset,
                                                  section.header.sh_size / sizeof(Elf64_Rela));
            all.insert(all.end(), some.begin(), some.end());
        }
    }
    return all;
}

std::set<std::string> ElfFile::RelocatedSymbols() const
{
    std::set<std::string> names;
    for (const Elf64_Rela &relocation : Relocations()) {
        const std::size_t i = ELF64_R_SYM(relocation.r_info);
        if (i != 0) {
            names.insert(dynamicSymbols_.at(i).name);
        }
    }
    return names;
}

std::vector<Elf64_Addr> ElfFile::PointersIn(const std::string &name) const
{
    std::vector<Elf64_Addr> pointers;
    for (const Section &section : sections_) {
        if (section.name != name) {
            continue;
        }
        pointers = Records<Elf64_Addr>(section.header.sh_offset,
                                       section.header.sh_size / sizeof(Elf64_Addr));
        for (const Elf64_Rela &relocation : Relocations()) { // what the loader puts there
            const Elf64_Addr at = relocation.r_offset - section.header.sh_addr;
            if (relocation.r_offset >= section.header.sh_addr &&
                at < pointers.size() * sizeof(Elf64_Addr)) {
                pointers[at / sizeof(Elf64_Addr)] = static_cast<Elf64_Addr>(relocation.r_addend);
            }
        }
    }
    return pointers;
}

} // namespace wyx::test

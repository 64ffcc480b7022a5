// SPDX-License-Identifier: GPL-2.0
/*
 * Command on the code of a loaded module: how its functions protect their return addresses. The
 * compiler places an instruction that signs the address before it is saved, and one that checks it
 * afterwards. A kernel may replace both when it loads the module.
 */
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <elf.h>
#include <fcntl.h>
#include <unistd.h>

#include "commands.h"
#include "system.h"

namespace {

constexpr std::uint32_t kPaciasp = 0xd503233f;
constexpr std::uint32_t kAutiasp = 0xd50323bf;
/* str x30, [x18], #8 and ldr x30, [x18, #-8]! */
constexpr std::uint32_t kShadowPush = 0xf800865e;
constexpr std::uint32_t kShadowPop = 0xf85f8e5e;

constexpr unsigned kLinkRegister = 30;
constexpr unsigned kStackPointer = 31;

/* Does an instruction store the return address to the stack, by str or stp? */
bool saves_return_address(std::uint32_t code)
{
	const unsigned first = code & 31, base = code >> 5 & 31, second = code >> 10 & 31;
	const bool is_single = (code & 0xffc00000) == 0xf9000000 ||
			       (code & 0xffe00000) == 0xf8000000;
	const bool is_pair = (code & 0xfc400000) == 0xa8000000;
	return base == kStackPointer &&
	       ((is_single && first == kLinkRegister) ||
		(is_pair && (first == kLinkRegister || second == kLinkRegister)));
}

class Bytes {
public:
	explicit Bytes(const char *path)
	{
		const File file(path, O_RDONLY);
		char piece[65536];
		ssize_t got = file.fd() < 0 ? -1 : 0;
		while (got >= 0 && (got = ::read(file.fd(), piece, sizeof(piece))) > 0)
			bytes_.insert(bytes_.end(), piece, piece + got);
		if (got < 0)
			give_up(path);
	}

	/* A copy, because the file's structures need not be aligned. */
	template <typename T>
	T at(std::uint64_t offset) const
	{
		T value;
		if (offset > bytes_.size() || bytes_.size() - offset < sizeof(value))
			give_up("damaged file");
		std::memcpy(&value, bytes_.data() + offset, sizeof(value));
		return value;
	}

	std::string text_at(std::uint64_t offset) const
	{
		std::string text;
		for (char letter; (letter = at<char>(offset)); offset++)
			text += letter;
		return text;
	}

private:
	std::vector<char> bytes_;
};

/* The kernel's memory as a file, by virtual addresses. */
class KernelMemory {
public:
	std::uint32_t word(std::uint64_t address) const
	{
		for (unsigned i = 0; i < header_.e_phnum; i++) {
			const auto part =
				read<Elf64_Phdr>(header_.e_phoff + i * sizeof(Elf64_Phdr));
			if (part.p_type == PT_LOAD && address >= part.p_vaddr &&
			    address - part.p_vaddr < part.p_memsz)
				return read<std::uint32_t>(part.p_offset + address - part.p_vaddr);
		}
		give_up("an address outside /proc/kcore");
	}

private:
	template <typename T>
	T read(std::uint64_t offset) const
	{
		T value;
		if (::pread(file_.fd(), &value, sizeof(value), static_cast<off_t>(offset)) !=
		    static_cast<ssize_t>(sizeof(value)))
			give_up("/proc/kcore");
		return value;
	}

	File file_{"/proc/kcore", O_RDONLY};
	Elf64_Ehdr header_ = read<Elf64_Ehdr>(0);
};

/* Counts of functions and of places in them. */
struct Protection {
	unsigned functions = 0;
	unsigned unprotected = 0; /* functions that save the address without signing it */
	unsigned places = 0; /* that sign or check an address */
	unsigned signing = 0; /* of these, those that still do */
	unsigned shadow = 0; /* of these, those that use the shadow stack instead */
	std::string signing_functions; /* a blank and the name of each */
};

class LoadedModule {
public:
	LoadedModule(const char *path, const char *name) : file_(path), name_(name) {}

	Protection protection() const
	{
		Protection sum;
		for (unsigned i = 0; i < header_.e_shnum; i++)
			if (const auto table = section(i); table.sh_type == SHT_SYMTAB)
				add_symbols(sum, table);
		return sum;
	}

private:
	Elf64_Shdr section(unsigned index) const
	{
		return file_.at<Elf64_Shdr>(header_.e_shoff + index * sizeof(Elf64_Shdr));
	}

	void add_symbols(Protection &sum, const Elf64_Shdr &table) const
	{
		for (std::uint64_t at = 0; at < table.sh_size; at += sizeof(Elf64_Sym)) {
			const auto symbol = file_.at<Elf64_Sym>(table.sh_offset + at);
			if (ELF64_ST_TYPE(symbol.st_info) == STT_FUNC &&
			    symbol.st_shndx < header_.e_shnum)
				add_function(sum, symbol);
		}
	}

	/* The kernel frees the sections of start-up. */
	void add_function(Protection &sum, const Elf64_Sym &symbol) const
	{
		const Elf64_Shdr code = section(symbol.st_shndx);
		const auto names = section(header_.e_shstrndx);
		const std::string name = file_.text_at(names.sh_offset + code.sh_name);
		if (name.starts_with(".init"))
			return;
		const std::uint64_t loaded = address_of(name) + symbol.st_value;
		const unsigned signing_before = sum.signing;
		bool is_signed = false, is_saved_bare = false;
		for (std::uint64_t at = 0; at < symbol.st_size; at += 4) {
			const auto word =
				file_.at<std::uint32_t>(code.sh_offset + symbol.st_value + at);
			is_saved_bare |= saves_return_address(word) && !is_signed;
			is_signed |= word == kPaciasp;
			if (word == kPaciasp || word == kAutiasp)
				add_place(sum, word, memory_.word(loaded + at));
		}
		sum.functions++;
		sum.unprotected += is_saved_bare;
		if (is_saved_bare)
			std::printf("unprotected: %s\n", name_of(symbol).c_str());
		if (sum.signing != signing_before)
			sum.signing_functions += " " + name_of(symbol);
	}

	static void add_place(Protection &sum, std::uint32_t in_file, std::uint32_t in_memory)
	{
		sum.places++;
		sum.signing += in_memory == in_file;
		sum.shadow += in_memory == (in_file == kPaciasp ? kShadowPush : kShadowPop);
	}

	std::string name_of(const Elf64_Sym &symbol) const
	{
		for (unsigned i = 0; i < header_.e_shnum; i++)
			if (const auto table = section(i); table.sh_type == SHT_SYMTAB)
				return file_.text_at(section(table.sh_link).sh_offset +
						     symbol.st_name);
		return {};
	}

	std::uint64_t address_of(const std::string &section) const
	{
		const Bytes text(("/sys/module/" + name_ + "/sections/" + section).c_str());
		return std::strtoull(text.at<Line>(0).text, nullptr, 0);
	}

	/* "0x" and 16 digits. */
	struct Line {
		char text[19];
	};

	Bytes file_;
	std::string name_;
	Elf64_Ehdr header_ = file_.at<Elf64_Ehdr>(0);
	KernelMemory memory_;
};

} // namespace

int run_returns(Arguments arguments)
{
	const Protection sum = LoadedModule(arguments[0], arguments[1]).protection();
	if (sum.signing && sum.shadow)
		std::printf("only signed in:%s\n", sum.signing_functions.c_str());
	std::printf("functions=%u unprotected=%u places=%u signing=%u shadow=%u\n", sum.functions,
		    sum.unprotected, sum.places, sum.signing, sum.shadow);
	return 0;
}

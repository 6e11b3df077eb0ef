"""Turns GNU assembly for ARM ELF objects, as the compiler writes it, into assembly for Windows CE's objects.

Instructions and data are the same. What differs are the directives that name sections and the properties of symbols:

- sections have other names and flags; one of a COMDAT group becomes a linkonce section, of which the linker keeps one;
- pointers to constructors and destructors stand in .ctors and .dtors;
- types, sizes and visibilities of symbols and the attributes of the ELF ABI have no counterpart and no use here;
- a weak definition is an ordinary one (its section is linkonce); a weak reference, which the linker would leave null, is an
  ordinary one that it has to resolve.

A directive that is neither known nor common to both is an error: better than code that nobody has thought about.
"""

import re
import sys

# Directives that mean the same to both.
COMMON = {"align", "balign", "p2align", "word", "long", "short", "hword", "2byte", "4byte", "byte", "ascii", "asciz", "string", "space",
          "zero", "skip", "global", "globl", "set", "equ", "arm", "code", "syntax", "text", "data", "bss", "arch", "ltorg", "pool",
          "file", "quad", "8byte"}
DROPPED = {"type", "size", "fpu", "eabi_attribute", "hidden", "protected", "internal", "ident", "cpu", "arch_extension",
           "object_arch"}
# ELF section's first part -> (our section, flags)
SECTIONS = {"text": (".text", "x"), "rodata": (".rdata", "dr"), "data": (".data", "w"), "bss": (".bss", "b")}
POINTERS = {".init_array": ".ctors", ".ctors": ".ctors", ".fini_array": ".dtors", ".dtors": ".dtors"}
UNUSED_SECTIONS = (".note", ".comment", ".ARM")


class Unknown(Exception):
    pass


def section(name, flags, rest):
    """The directives for an ELF section; None for one that the linker would drop."""
    if name.startswith(UNUSED_SECTIONS):
        return None
    if name in POINTERS:
        return [f'\t.section\t{POINTERS[name]},"w"']
    parts = name.split(".", 2)
    if len(parts) < 2 or parts[1] not in SECTIONS:
        raise Unknown(f"section {name}")
    ours, ours_flags = SECTIONS[parts[1]]
    tail = parts[2] if len(parts) > 2 else ""
    if "G" not in flags:
        # A section of its own lets the linker leave out what nobody refers to.
        return [f'\t.section\t{ours}{"$" + tail if tail else ""},"{ours_flags}"']
    group = re.search(r",\s*([^,]+),\s*comdat", rest)
    if group is None:
        raise Unknown(f"group of section {name}")
    if ours == ".bss":
        ours, ours_flags = ".data", "w"  # the linker takes only sections with contents for linkonce
    return [f'\t.section\t{ours}${tail or group.group(1)},"{ours_flags}"', "\t.linkonce discard"]


def local_common(symbol, size, alignment):
    return ["\t.bss", f"\t.balign\t{alignment}", f"{symbol}:", f"\t.space\t{size}"]


def translate(assembly):
    lines, local, skipping, current = [], set(), False, ["\t.text"]
    for line in assembly.split("\n"):
        text = line.strip()
        directive = re.match(r"\.([A-Za-z_0-9]+)\b\s*(.*)$", text)
        if directive is None or re.match(r"[\w.$]+:", text):
            if not skipping:
                lines.append(re.sub(r"(\.word\s+\S+)\(target\d?\)", r"\1", line))
            continue
        name, operands = directive.groups()
        if name == "section":
            parts = re.match(r'([^,\s]+)(?:,\s*"([^"]*)"(.*))?$', operands)
            current = section(parts.group(1), parts.group(2) or "", parts.group(3) or "")
            skipping = current is None
            lines += current or []
        elif name in ("text", "data", "bss"):
            skipping, current = False, [line]
            lines.append(line)
        elif skipping or name in DROPPED:
            continue
        elif name == "weak":
            lines.append(f"\t.global\t{operands}")
        elif name == "local":
            local.add(operands)
        elif name == "comm":
            symbol, size, *alignment = [word.strip() for word in operands.split(",")]
            if symbol not in local:
                raise Unknown(f"common symbol {symbol}")
            lines += local_common(symbol, size, alignment[0] if alignment else "4") + current
        elif name in COMMON:
            lines.append(re.sub(r"\(target\d?\)", "", line))
        else:
            raise Unknown(f"directive .{name}")
    return "\n".join(lines)


if __name__ == "__main__":
    try:
        sys.stdout.write(translate(sys.stdin.read()))
    except Unknown as unknown:
        sys.exit(f"elf_to_coff: {unknown}")

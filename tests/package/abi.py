#!/usr/bin/python3
# SharedStore - PIN and card data cache
# SPDX-License-Identifier: Apache-2.0
"""Compares what programs that were built with an installed package rely on with a baseline.

usage: abi.py PREFIX BASELINE [--update]

There is a record for each library, exported function and variable, each class and each enumerator of the installed headers, with
typedefs resolved. A record of the baseline that is gone or differs breaks programs: that fails. A new one is only named.
A private function that is not virtual has no record, though it is exported with its class: nobody else can call it.
The types of private members have none either, but their places have.
"""

# Debian's bindings of libclang are the system interpreter's: hence the first line.
import pathlib
import subprocess
import sys

from clang.cindex import AccessSpecifier, CursorKind, Diagnostic, Index

CLASSES = (CursorKind.CLASS_DECL, CursorKind.STRUCT_DECL)
FUNCTIONS = (CursorKind.FUNCTION_DECL, CursorKind.CXX_METHOD, CursorKind.CONSTRUCTOR, CursorKind.DESTRUCTOR)
SECURE_STRING = "std::basic_string<char, std::char_traits<char>, OV::Framework::secallocator<char>>"


def full_name(cursor):
    outer = cursor.semantic_parent
    named = outer.kind in (CursorKind.NAMESPACE, CursorKind.ENUM_DECL, *CLASSES)
    return (full_name(outer) + "::" if named else "") + cursor.spelling


def type_name(cursor):
    return cursor.type.get_canonical().spelling.replace(SECURE_STRING, "SecureString")


def bases(cls):
    return [b.type.get_canonical().get_declaration() for b in cls.get_children() if b.kind == CursorKind.CXX_BASE_SPECIFIER]


def virtual_functions(cls):
    """What a class adds to the table of virtual functions of its bases, in order. Overriding adds nothing."""
    inherited = [function for base in bases(cls) for function in virtual_table(base)]
    virtual = [child for child in cls.get_children() if child.kind in FUNCTIONS and child.is_virtual_method()]
    names = ["destructor" if f.kind == CursorKind.DESTRUCTOR else f"{f.spelling}: {type_name(f)}" for f in virtual]
    return [function for function in names if function not in inherited]


def virtual_table(cls):
    return [function for base in bases(cls) for function in virtual_table(base)] + virtual_functions(cls)


def class_record(cls):
    lines = [f"class {full_name(cls)}: {cls.type.get_size()} bytes, aligned to {cls.type.get_align()}"]
    lines += [f"base {full_name(base)}" for base in bases(cls)]
    lines += [f"virtual {function}" for function in virtual_functions(cls)]
    fields = [child for child in cls.get_children() if child.kind == CursorKind.FIELD_DECL]
    hidden = [f for f in fields if f.access_specifier == AccessSpecifier.PRIVATE]
    lines += [f"bit {f.get_field_offsetof()}: {f.spelling}: {type_name(f)}" for f in fields if f not in hidden]
    lines += ["private at bits " + " ".join(str(f.get_field_offsetof()) for f in hidden)] * bool(hidden)
    return "\n    ".join(lines)


def records(scope, headers, symbols):
    """The records of what a scope declares."""
    for child in scope.get_children():
        at_top = scope.kind == CursorKind.TRANSLATION_UNIT
        if (at_top and str(child.location.file) not in headers) or child.access_specifier == AccessSpecifier.PRIVATE:
            continue
        if child.kind in FUNCTIONS and child.mangled_name in symbols:
            static = "static " if child.is_static_method() else ""
            yield f"function {static}{full_name(child)}: {type_name(child)}"
        elif child.kind == CursorKind.VAR_DECL and child.mangled_name in symbols:
            yield f"variable {full_name(child)}: {type_name(child)}"
        elif child.kind == CursorKind.ENUM_CONSTANT_DECL:
            yield f"enumerator {full_name(child)} = {child.enum_value}"
        elif child.kind in CLASSES and child.is_definition():
            yield class_record(child)
        yield from records(child, headers, symbols) if child.kind not in FUNCTIONS else ()


def exported(library):
    """The symbols of a library, but for weak ones: which of them there are is the compiler's affair."""
    command = ["nm", "--dynamic", "--defined-only", "--extern-only", "--format=posix", library]
    lines = subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout.splitlines()
    return {line.split()[0] for line in lines if line.split()[1] not in "WVu"}


def soname(library):
    """The record of the name that programs ask for."""
    lines = subprocess.run(["readelf", "--dynamic", library], check=True, stdout=subprocess.PIPE, text=True).stdout.splitlines()
    return next("library " + line.split("[")[1].rstrip("]") for line in lines if "SONAME" in line)


def package_records(prefix):
    headers = sorted(str(path) for path in prefix.rglob("*.h"))
    text = "".join(f'#include "{header}"\n' for header in headers)
    arguments = ["-std=c++17", f"-I{prefix}/include/SharedStore"]
    unit = Index.create().parse("all.cpp", arguments, [("all.cpp", text)])
    if errors := [str(d) for d in unit.diagnostics if d.severity >= Diagnostic.Error]:
        sys.exit("\n".join(errors))
    libraries = sorted(prefix.rglob("libSharedStore*.so"))
    symbols = set().union(*map(exported, libraries))
    return {*records(unit.cursor, headers, symbols), *map(soname, libraries)}


def main(prefix, baseline, update=None):
    found = package_records(pathlib.Path(prefix))
    baseline = pathlib.Path(baseline)
    if update:
        baseline.write_text("\n".join(sorted(found)) + "\n")
        return 0
    known = set(baseline.read_text().rstrip("\n").replace("\n    ", "\v").split("\n"))
    known = {record.replace("\v", "\n    ") for record in known}
    for title, some in (("Gone or changed, which breaks programs:", known - found), ("New:", found - known)):
        if some:
            print("\n".join([title, *sorted(some)]))
    return 1 if known - found else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))

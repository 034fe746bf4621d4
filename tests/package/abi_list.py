"""Writes the binary interface of the library as a short text, from the output of abidw:
  abi_list.py ABIDW_XML FILE_WITH_PUBLIC_HEADERS
The text contains each type in the public headers, with its layout, enumerators and virtual functions,
and each exported function with its return type. A type of another library or of a private header
appears by name only."""
import subprocess
import sys
import xml.etree.ElementTree as ElementTree

SOURCE_PREFIX = "/oxShared/"  # The build replaces the source folder by this prefix.
SCOPES = ("namespace-decl", "class-decl", "union-decl")

root = ElementTree.parse(sys.argv[1]).getroot()
with open(sys.argv[2], encoding="utf-8") as file:
    public_headers = {SOURCE_PREFIX + line.strip() for line in file}

elements, names = {}, {}


def collect(element, scope):
    name = element.get("name", "")
    if element.get("id") and (element.get("id") not in elements or not element.get("is-declaration-only")):
        elements[element.get("id")] = element
        names[element.get("id")] = scope + name
    inner = scope + name + "::" if element.tag in SCOPES else scope
    for child in element:
        collect(child, inner)


def type_text(identity):
    element = elements.get(identity)
    if element is None:
        return "void"
    target = element.get("type-id")
    if element.tag == "pointer-type-def":
        return type_text(target) + " *"
    if element.tag == "reference-type-def":
        return type_text(target) + (" &" if element.get("kind") == "lvalue" else " &&")
    if element.tag == "qualified-type-def":
        words = [word for word in ("const", "volatile") if element.get(word) == "yes"]
        return " ".join([type_text(target), *words])
    if element.tag == "array-type-def":
        sizes = "".join(f"[{part.get('length')}]" for part in element.findall("subrange"))
        return type_text(target) + sizes
    if element.tag == "function-type":
        return "function"
    return names[identity]


def in_bytes(bits):
    whole, rest = divmod(int(bits), 8)
    return f"{whole}+{rest}/8" if rest else f"{whole}"


def class_lines(identity, element):
    kind = "union" if element.tag == "union-decl" else "class"
    if element.get("size-in-bits") is None:
        return  # The type has only static functions.
    yield f"{kind} {names[identity]}: {in_bytes(element.get('size-in-bits'))} bytes"
    for base in element.findall("base-class"):
        yield f"    {in_bytes(base.get('layout-offset-in-bits', 0))} base {type_text(base.get('type-id'))}"
    for member in element.findall("data-member"):
        variable = member.find("var-decl")
        place = "static" if member.get("static") == "yes" else in_bytes(member.get("layout-offset-in-bits", 0))
        yield f"    {place} {type_text(variable.get('type-id'))} {variable.get('name')}"
    for member in element.findall("member-function"):
        if member.get("vtable-offset"):
            function = member.find("function-decl")
            yield f"    virtual {member.get('vtable-offset')} {function.get('mangled-name')}"


def enum_lines(identity, element):
    underlying = type_text(element.find("underlying-type").get("type-id"))
    bits = underlying.removeprefix("unnamed-enum-underlying-type-")
    yield f"enum {names[identity]}: {in_bytes(bits)} bytes"
    for value in element.findall("enumerator"):
        yield f"    {value.get('value')} {value.get('name')}"


def type_lines():
    for identity, element in elements.items():
        if element.get("filepath") not in public_headers:
            continue
        if element.tag in ("class-decl", "union-decl") and not element.get("is-declaration-only"):
            yield tuple(class_lines(identity, element))
        elif element.tag == "enum-decl":
            yield tuple(enum_lines(identity, element))
        elif element.tag == "typedef-decl" and "<" not in names[identity]:
            yield (f"typedef {names[identity]} = {type_text(element.get('type-id'))}",)


def function_lines():
    results = {}
    for function in root.iter("function-decl"):
        if function.get("elf-symbol-id"):
            results[function.get("elf-symbol-id")] = type_text(function.find("return").get("type-id"))
    demangled = subprocess.run(["c++filt"], input="\n".join(results), capture_output=True, text=True, check=True)
    for name, result in zip(demangled.stdout.splitlines(), results.values()):
        yield f"{name} -> {result}"


collect(root, "")
print(f"soname {root.get('soname')}")
for block in sorted(set(type_lines())):
    print("\n".join(block))
print("\n".join(sorted(set(function_lines()))))

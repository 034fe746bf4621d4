#!/usr/bin/env python3
"""Prepares files for Doxygen: prepare.py OUTPUT_DIR FILE… writes them to the folder.

A header gets into the subject that lists it in subjects.dox, and its introduction into the subject's
text. A page of docs/ gets the anchors that GitHub gives its headings.
"""

import pathlib
import re
import sys
import textwrap

ROOT = pathlib.Path(__file__).resolve().parents[2]


def subjects():
    """Returns the subject of each header that subjects.dox lists; None for a hidden one."""
    text = (ROOT / "docs/reference/subjects.dox").read_text()
    result = dict.fromkeys(re.findall(r"^Hidden: `([^`]+)`", text, re.MULTILINE))
    for block in text.split("/**"):
        for line in re.findall(r"^Headers?: (.*)$", block, re.MULTILINE):
            for header in re.findall(r"`([^`]+)`", line):
                result[header] = re.search(r"@defgroup (\w+)", block)[1]
    return result


def escaped_comment(match):
    """Returns a line of a comment without characters that Doxygen takes for commands and tags."""
    if match[0].startswith("///    "):  # code
        return match[0]
    line = re.sub(r'"([^"`\s]*[\\<][^"`\s]*)"', r"`\1`", match[0])
    parts = re.split(r"(`[^`]*`)", line)
    parts[::2] = [part.replace("\\", "\\\\") for part in parts[::2]]
    return "".join(parts)


def prepared_header(text, subject):
    """Returns a header as a part of its subject, whose text begins with the header's introduction."""
    # Specialisations for the standard library and fmt have nothing to document, and protected members
    # are for the strings themselves.
    for hidden in (
        r"(?:^///[^\n]*\n)*^template <[^>]*>\nstruct (?:std|fmt)::\w+<.*?^};\n",
        r"^  protected:\n.*?(?=^};)",
    ):
        text = re.sub(hidden, lambda match: "\n" * match[0].count("\n"), text, flags=re.MULTILINE | re.DOTALL)
    text = re.sub(r"///.*", escaped_comment, text)
    labels = r"^( *)/// (Fails|Threads|Compatibility|Requires): "
    text = re.sub(labels, r"\1///\n\1/// **\2:** ", text, flags=re.MULTILINE)
    text = re.sub(r"\bdocs/(\w+)\.md", r"@ref doc_\1", text)
    # An introduction is the first comment with an empty line after it.
    introduction = re.search(r"^(?://[^\n]*\n)+(?=\n)", text, re.MULTILINE)
    lines = introduction[0].splitlines() if introduction else []
    if lines:
        text = text.replace(introduction[0], "\n" * len(lines), 1)
    opening = [f"/// @addtogroup {subject}", "/// @details"] + [re.sub("^///?", "///", line) for line in lines]
    return "\n".join([*opening, "", f"/** @addtogroup {subject}", "@{ */", text, "/** @} */", ""])


def with_doxygen_spans(text):
    """Returns a text without code blocks in the form that Doxygen shows: it ends a code span at a single quote, and
    does not know a bold one."""

    def with_quotes(match):
        return f"``{match[1]}``" if "'" in match[1] else match[0]

    # Matches every span, so that a match never begins at the end of another.
    text = re.sub(r"(?<!`)`((?:[^`\n]|\n(?!\n))+)`(?!`)", with_quotes, text)
    return re.sub(r"\*\*(`[^`]+`)\*\*", r"<b>\1</b>", text)


def prepared_page(text, name):
    """Returns a page of docs/ with anchors like those of GitHub, and with fences around its code."""

    def with_anchor(match):
        anchor = re.sub(r"[^\w -]", "", match[2].lower()).replace(" ", "-")
        return f"{match[1]} {match[2]} {{#{name}-{anchor}}}"

    code = r"(?<=\n\n)(?: {4}[^\n]*\n|\n(?= {4}))+"
    text = re.sub(code, lambda match: "```\n" + textwrap.dedent(match[0]) + "```\n", text)
    parts = re.split(r"(^```.*?^```$)", text, flags=re.MULTILINE | re.DOTALL)
    for index in range(0, len(parts), 2):
        parts[index] = re.sub(r"^(##+) (.*)$", with_anchor, with_doxygen_spans(parts[index]), flags=re.MULTILINE)
    text = re.sub(r"^# (.*)$", rf"# \1 {{#{name}}}", "".join(parts), count=1, flags=re.MULTILINE)
    text = re.sub(r"\]\(#([\w-]+)\)", rf"](#{name}-\1)", text)
    text = re.sub(r"\]\((\w+)\.md#([\w-]+)\)", r"](#doc_\1-\2)", text)
    text = re.sub(r"\]\((\w+)\.md\)", r"](#doc_\1)", text)
    # Files of the source tree that are not in the reference stay as plain text.
    return re.sub(r"\[([^]]+)\]\(\.\./[^)]*\)", r"\1", text)


def prepared_example(text):
    """Returns a source of examples with unindented snippets."""
    return re.sub(r"^ *(//! \[\w+\]\n)(.*?)^ *\1", lambda match: match[1] + textwrap.dedent(match[2]) + match[1], text,
                  flags=re.MULTILINE | re.DOTALL)


output, subject = pathlib.Path(sys.argv[1]), subjects()
for name in sys.argv[2:]:
    if name.endswith(".h") and name not in subject:
        sys.exit(f"docs/reference/subjects.dox: no subject lists {name}")
    if subject.get(name, name) is None:
        continue
    content = (ROOT / name).read_text()
    if name.endswith(".h"):
        content = prepared_header(content, subject[name])
    elif name.endswith(".cpp"):
        content = prepared_example(content)
    else:
        content = prepared_page(content, "doc_" + pathlib.Path(name).stem)
    target = output / name
    target.parent.mkdir(parents=True, exist_ok=True)
    target.write_text(content)

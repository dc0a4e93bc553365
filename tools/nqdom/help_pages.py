#!/usr/bin/env python3
"""Writes the nqdom manual page and bash completion from the tool's own --help.

Usage: help_pages.py NQDOM VERSION MAN-OUT COMPLETION-OUT

The built tool is asked for its help, overall and per command, so the page and
the completion always say what the tool says.
"""
import re
import subprocess
import sys

ITEM = re.compile(r"^  (\S.*?)(?:\s{2,}(\S.*))?$")


def help_text(tool, *words):
    return subprocess.run([tool, *words, "--help"], check=True, capture_output=True,
                          text=True).stdout


def blocks(text):
    """Paragraphs of a help text: lists of lines, blank lines between them."""
    return [b.split("\n") for b in text.strip("\n").split("\n\n")]


def items(block):
    """(term, description) of each indented line; continuation lines join."""
    found = []
    for line in block:
        if not line.startswith("  "):
            continue
        if line.startswith("   ") and found:
            term, desc = found[-1]
            found[-1] = (term, (desc + " " + line.strip()).strip())
            continue
        match = ITEM.match(line)
        found.append((match.group(1), match.group(2) or ""))
    return found


def commands(tool):
    """Each command as typed after "nqdom", subcommands spelled out."""
    heading = next(b for b in blocks(help_text(tool)) if b[0] == "Commands:")
    names = []
    for term, _ in items(heading):
        words = term.split()
        if len(words) < 2 or "|" not in words[1]:
            names.append(words[0])
            continue
        names.extend(words[0] + " " + sub for sub in words[1].split("|"))
    return names


def roff(text):
    text = text.replace("\\", "\\e").replace("-", "\\-")
    return "\\&" + text if text[:1] in ".'" else text


def man_block(block):
    """One help paragraph as roff: prose filled, option and status lists as
    tagged paragraphs, a "Heading:" line in bold."""
    out = []
    prose = [line for line in block if not line.startswith("  ")]
    if len(prose) == 1 and prose[0].endswith(":"):
        out += [".PP", ".B " + roff(prose[0][:-1])]
    elif prose:
        out += [".PP"] + [roff(line) for line in prose]
    for term, desc in items(block):
        out += [".TP", ".B " + roff(term)] + ([roff(desc)] if desc else [])
    return out


def man_page(tool, version):
    top = blocks(help_text(tool))
    usage, summary = top[0][0], " ".join(top[1])
    names = commands(tool)
    page = ['.TH NQDOM 1 "" "nqdom %s" "DOM Library"' % version, ".SH NAME",
            "nqdom \\- " + roff(summary[0].lower() + summary[1:].rstrip(".")),
            ".SH SYNOPSIS", ".B " + roff(usage[len("usage: "):])]
    page += [".SH DESCRIPTION"] + [line for b in top[1:] for line in man_block(b)]
    page.append(".SH COMMANDS")
    first_shown = {}
    for name in names:
        own = blocks(help_text(tool, *name.split()))
        page += [".SS " + roff(own[0][0][len("usage: "):])]
        for block in own[1:]:
            # A paragraph several commands share (how they load) comes once.
            key = "\n".join(block)
            if key in first_shown:
                terms = ", ".join(roff(term) for term, _ in items(block))
                page += [".PP", "As under \\fBnqdom %s\\fR: %s." % (first_shown[key], terms)]
                continue
            first_shown[key] = name
            page += man_block(block)
    page += [".SH SEE ALSO", "The DOM Library's API reference and guide, built by \\fBmake docs\\fR",
             "from its sources."]
    return "\n".join(page) + "\n"


def options(tool, name):
    text = help_text(tool, *name.split())
    found = re.findall(r"(?<![\w-])(--?[a-z][a-z-]*)", text.split("\n")[0])
    for block in blocks(text):
        found += [term.split()[0] for term, _ in items(block) if term.startswith("-")]
    return sorted(set(found) | {"--help"})


def completion(tool):
    names = commands(tool)
    tops = sorted({n.split()[0] for n in names})
    subs = {}
    for n in names:
        if " " in n:
            subs.setdefault(n.split()[0], []).append(n.split()[1])
    lines = ["# bash completion for nqdom, made from its --help", "_nqdom() {",
             '    local cur=${COMP_WORDS[COMP_CWORD]} cmd=${COMP_WORDS[1]} words=""',
             '    if [ "$COMP_CWORD" -eq 1 ]; then',
             '        COMPREPLY=($(compgen -W "%s --help" -- "$cur"))' % " ".join(tops),
             "        return", "    fi", '    case "$cmd" in']
    for top, sub in sorted(subs.items()):
        lines += ["    %s)" % top, '        if [ "$COMP_CWORD" -eq 2 ]; then',
                  '            COMPREPLY=($(compgen -W "%s --help" -- "$cur"))' % " ".join(sub),
                  "            return", "        fi", '        cmd="$cmd ${COMP_WORDS[2]}"',
                  "        ;;"]
    lines += ["    esac",
              "    # Anything but an option is left to file name completion.",
              '    [ "${cur#-}" = "$cur" ] && return', '    case "$cmd" in']
    for name in names:
        lines.append('    "%s") words="%s" ;;' % (name, " ".join(options(tool, name))))
    lines += ["    esac", '    COMPREPLY=($(compgen -W "$words" -- "$cur"))', "}",
              "complete -o default -F _nqdom nqdom"]
    return "\n".join(lines) + "\n"


def main():
    tool, version, man_out, completion_out = sys.argv[1:5]
    with open(man_out, "w", encoding="utf-8") as out:
        out.write(man_page(tool, version))
    with open(completion_out, "w", encoding="utf-8") as out:
        out.write(completion(tool))


if __name__ == "__main__":
    main()

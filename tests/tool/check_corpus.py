#!/usr/bin/env python3
"""Every document of the corpus through nqdom, compared with xmllint's
canonical form of the input: `format` keeps the content; `format --pretty`
keeps it but for white space in element-only content; `tree --json` holds
all of it (the document type aside, which the canonical form drops).
Usage: check_corpus.py NQDOM CORPUS_DIR"""
import json
import os
import subprocess
import sys
import tempfile
from xml.dom import minidom

# Per document: the options, and the refusal expected, if any. Every other
# file of the folder runs without options and must load.
CASES = {
    "personal.dtd": None,
    "personal.xml": (["--external"], None),
    # Their DTDs are on the network, which the tool never reads.
    "dbus-session.conf": ([], "busconfig.dtd\" is outside the text"),
    "info.plist": ([], "PropertyList-1.0.dtd\" is outside the text"),
    "polkit.policy": ([], "policyconfig.dtd\" is outside the text"),
}

SPACE = " \t\r\n"


def run(*args):
    result = subprocess.run(args, capture_output=True)
    if result.returncode != 0:
        raise RuntimeError(" ".join(args) + ": " + result.stderr.decode(errors="replace"))
    return result.stdout


def canonical(path, corpus):
    return run("xmllint", "--nonet", "--path", corpus, "--c14n", path)


def model(node):
    """The node as nested lists; white space in element-only content left out."""
    kids = [k for k in node.childNodes if k.nodeType != k.DOCUMENT_TYPE_NODE]
    elementOnly = any(k.nodeType != k.TEXT_NODE for k in kids) and all(
        k.nodeType != k.TEXT_NODE or not k.data.strip(SPACE) for k in kids)
    if node.nodeType == node.ELEMENT_NODE and node.getAttribute("xml:space") == "preserve":
        elementOnly = False
    out = []
    for k in kids:
        if k.nodeType == k.TEXT_NODE:
            if elementOnly:
                continue
            if out and out[-1][0] == "text":
                out[-1][1] += k.data
                continue
            out.append(["text", k.data])
        elif k.nodeType == k.COMMENT_NODE:
            out.append(["comment", k.data])
        elif k.nodeType == k.PROCESSING_INSTRUCTION_NODE:
            out.append(["pi", k.target, k.data])
        else:
            out.append(["element", k.tagName, sorted(k.attributes.items()), model(k)])
    return out


def fromJson(node):
    out = []
    for k in node["children"]:
        kind = k["type"]
        if kind == "text" and out and out[-1][0] == "text":
            out[-1][1] += k["text"]
        elif kind in ("text", "comment"):
            out.append([kind, k["text"]])
        elif kind == "pi":
            out.append(["pi", k["target"], k["data"]])
        elif kind == "element":
            out.append(["element", k["name"], sorted(k["attributes"].items()), fromJson(k)])
    return out


def refused(tool, path, options, reason):
    result = subprocess.run([tool, "format", *options, path], capture_output=True)
    if result.returncode == 1 and result.stdout == b"" and reason in result.stderr.decode():
        return []
    return [f"format: exit {result.returncode}, {result.stderr.decode(errors='replace').strip()}"]


def check(tool, corpus, name, options, scratch):
    path = os.path.join(corpus, name)
    want = canonical(path, corpus)
    problems = []
    for flags in ([], ["--pretty"]):
        out = os.path.join(scratch, "out.xml")
        run(tool, "format", *options, *flags, "-o", out, path)
        got = canonical(out, corpus)
        if not flags and got != want:
            problems.append("format changed the content")
        if flags and model(minidom.parseString(got)) != model(minidom.parseString(want)):
            problems.append("format --pretty changed the content")
    tree = json.loads(run(tool, "tree", "--json", *options, path))
    if fromJson(tree) != model(minidom.parseString(want)):
        problems.append("tree --json differs from the document")
    return problems


def main():
    tool, corpus = sys.argv[1], sys.argv[2]
    failed = 0
    with tempfile.TemporaryDirectory() as scratch:
        for name in sorted(os.listdir(corpus)):
            case = CASES.get(name, ([], None))
            if case is None:
                continue
            options, reason = case
            path = os.path.join(corpus, name)
            try:
                problems = (refused(tool, path, options, reason) if reason
                            else check(tool, corpus, name, options, scratch))
            except RuntimeError as error:
                problems = [str(error).strip()]
            for problem in problems:
                print(f"{name}: {problem}")
            failed += bool(problems)
            print(f"{name}: {'FAILED' if problems else 'ok'}")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())

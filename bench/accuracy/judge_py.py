#!/usr/bin/python3
"""Python judge: every call in a corpus, resolved by Jedi, one JSON record a line.

usage: judge_py.py ROOT OUT.jsonl

A record: {"file", "line", "caller", "name", "form", "status", "callees", "target"}.
caller/callees are ids in Vantrel's scheme (relpath:name:kind); whether those symbols
exist is for the scorer to check against the scan. status is one of
  edge        resolved to definitions in the corpus that map to symbols (callees)
  nosym       resolved into the corpus, but to nothing that is a symbol
  external    resolved outside the corpus (builtins, stdlib, other packages)
  unresolved  Jedi found nothing, or only a variable whose value it cannot tell
"""
import ast
import json
import os
import re
import sys

import jedi

# Jedi would guess a parameter's type from the calls it finds; the truth keeps to what
# the code declares or assigns, as the TypeScript judge does.
jedi.settings.dynamic_params = False
jedi.settings.dynamic_params_for_other_modules = False


def rel_files(root):
    out = []
    for folder, dirs, files in os.walk(root):
        dirs[:] = sorted(d for d in dirs if d not in ("__pycache__", ".git", "node_modules"))
        for name in sorted(files):
            if name.endswith(".py"):
                out.append(os.path.relpath(os.path.join(folder, name), root).replace(os.sep, "/"))
    return out


def byte_col_to_char(line_text, col):
    # ast counts UTF-8 bytes, Jedi counts characters.
    return len(line_text.encode("utf-8")[:col].decode("utf-8", "replace"))


class Definitions:
    """Every def/class of the corpus, keyed by (relpath, line of its name, name)."""

    def __init__(self):
        self.by_key = {}  # key -> (vantrel id, ast node, relpath)

    def add_file(self, rel, tree):
        def visit(node, in_class):
            for child in ast.iter_child_nodes(node):
                if isinstance(child, (ast.FunctionDef, ast.AsyncFunctionDef)):
                    kind = "method" if in_class else "function"
                    self.by_key[(rel, child.lineno, child.name)] = (f"{rel}:{child.name}:{kind}", child, rel)
                    visit(child, in_class)
                elif isinstance(child, ast.ClassDef):
                    self.by_key[(rel, child.lineno, child.name)] = (f"{rel}:{child.name}:class", child, rel)
                    visit(child, True)
                else:
                    visit(child, in_class)

        visit(tree, False)


class Judge:
    def __init__(self, root):
        self.root = os.path.realpath(root)
        # Only the corpus and the standard library: what else is installed must not
        # change the answer, and other packages count as external anyway.
        std = [p for p in sys.path if p and "-packages" not in p and os.path.isdir(p)]
        self.project = jedi.Project(self.root, sys_path=[self.root] + std, smart_sys_path=False)
        self.env = jedi.InterpreterEnvironment()
        self.files = rel_files(self.root)
        self.sources = {}
        self.lines = {}
        self.trees = {}
        self.defs = Definitions()
        for rel in self.files:
            with open(os.path.join(self.root, rel), encoding="utf-8", errors="replace") as f:
                text = f.read()
            try:
                tree = ast.parse(text, filename=rel)
            except SyntaxError as e:
                print(f"judge_py: skipping {rel}: {e}", file=sys.stderr)
                continue
            self.sources[rel] = text
            # Line breaks as ast and Jedi count them (str.splitlines also breaks at \f).
            self.lines[rel] = re.split(r"\r\n|\r|\n", text)
            self.trees[rel] = tree
            self.defs.add_file(rel, tree)
        self.packages = {rel.split("/")[0].removesuffix(".py") for rel in self.files}
        self.scripts = {}
        self.ctor_cache = {}

    def script(self, rel):
        s = self.scripts.get(rel)
        if s is None:
            s = jedi.Script(self.sources[rel], path=os.path.join(self.root, rel), project=self.project,
                            environment=self.env)
            self.scripts[rel] = s
        return s

    def corpus_rel(self, name):
        path = name.module_path
        if path is None:
            return None
        path = os.path.realpath(str(path))
        if not path.startswith(self.root + os.sep):
            return None
        return os.path.relpath(path, self.root).replace(os.sep, "/")

    def definitions(self, rel, pos):
        names = self.goto(rel, *pos)
        if any(self.stands_for_corpus(n) for n in names):
            # Jedi's bundled stubs cover some corpus packages and goto can stop in them;
            # inference carries on to the source.
            found = [n for n in self.goto(rel, *pos, infer=True) if n.type in ("function", "class")]
            if any(self.corpus_rel(n) is not None for n in found):
                names = [n for n in names if not self.stands_for_corpus(n)] + found
        return names

    def stands_for_corpus(self, name):
        path = str(name.module_path or "")
        return path.endswith(".pyi") and (name.full_name or "").split(".")[0] in self.packages

    def goto(self, rel, line, col, infer=False):
        try:
            s = self.script(rel)
            return s.infer(line, col) if infer else s.goto(line, col, follow_imports=True)
        except Exception as e:  # Jedi has rare internal faults; one call is not worth the run
            print(f"judge_py: jedi failed at {rel}:{line}:{col}: {type(e).__name__}", file=sys.stderr)
            return []

    def constructor_ids(self, key, seen=None):
        """`C()` runs C's __init__, else the nearest base's, else the class symbol stands in."""
        if key in self.ctor_cache:
            return self.ctor_cache[key]
        seen = seen or set()
        seen.add(key)
        own = self.init_of(key)
        result = [own] if own else None
        if result is None:
            for base_key in self.base_keys(key):
                if base_key in seen:
                    continue
                found = self.constructor_ids(base_key, seen)
                if found and not found[0].endswith(":class"):
                    result = found
                    break
        if result is None:
            result = [self.defs.by_key[key][0]]
        self.ctor_cache[key] = result
        return result

    def init_of(self, key):
        _, node, rel = self.defs.by_key[key]
        for stmt in node.body:
            if isinstance(stmt, (ast.FunctionDef, ast.AsyncFunctionDef)) and stmt.name == "__init__":
                return f"{rel}:__init__:method"
        return None

    def base_keys(self, key):
        _, node, rel = self.defs.by_key[key]
        keys = []
        for base in node.bases:
            pos = self.name_position(rel, base)
            if not pos:
                continue
            for name in self.definitions(rel, pos):
                target = self.def_key(name)
                if target and isinstance(self.defs.by_key[target][1], ast.ClassDef):
                    keys.append(target)
        return keys

    def def_key(self, name):
        rel = self.corpus_rel(name)
        if rel is None or name.line is None:
            return None
        key = (rel, name.line, name.name)
        return key if key in self.defs.by_key else None

    def name_position(self, rel, expr):
        """Line and character column of the name that a call names: `f` or the `m` of `a.b.m`."""
        lines = self.lines[rel]
        if isinstance(expr, ast.Name):
            return expr.lineno, byte_col_to_char(lines[expr.lineno - 1], expr.col_offset)
        if isinstance(expr, ast.Attribute):
            line = lines[expr.end_lineno - 1]
            end = byte_col_to_char(line, expr.end_col_offset)
            return expr.end_lineno, end - len(expr.attr)
        return None

    def form(self, rel, func, check_module):
        if isinstance(func, ast.Name):
            return "plain"
        if not isinstance(func, ast.Attribute):
            return "other"
        recv = func.value
        if isinstance(recv, ast.Name):
            if recv.id in ("self", "cls"):
                return "this"
            pos = self.name_position(rel, recv)
            if check_module and any(n.type == "module" for n in self.goto(rel, *pos)):
                return "namespace"
            return "ident_recv"
        if isinstance(recv, ast.Call):
            if isinstance(recv.func, ast.Name) and recv.func.id == "super":
                return "super_member"
            return "call_recv"
        if isinstance(recv, ast.Attribute):
            return "chain"
        return "other"

    def resolve(self, rel, func):
        """(status, callee ids, target text, is_class) of one call."""
        pos = self.name_position(rel, func)
        if not pos:
            return "unresolved", [], "", False
        names = self.definitions(rel, pos)
        inside = [n for n in names if self.corpus_rel(n) is not None]
        if any(n.type == "param" for n in inside):
            # A parameter holds whatever a caller passes: no one callee to name.
            return "unresolved", [], "", False
        if inside and all(n.type in ("statement", "instance") for n in inside):
            # A variable: what it holds is the callee, if Jedi can tell.
            names = self.goto(rel, *pos, infer=True)
            names = [n for n in names if n.type in ("function", "class")]
            inside = [n for n in names if self.corpus_rel(n) is not None]
            if not names:
                return "unresolved", [], "", False
        if not inside:
            full = (names[0].full_name or "") if names else ""
            # `show = classmethod(show)` makes Jedi answer with the descriptor's own
            # method, not the function it wraps: the judge cannot name the callee.
            if full.startswith(("builtins.classmethod", "builtins.staticmethod", "builtins.property")):
                return "unresolved", [], full, False
            return ("external" if names else "unresolved"), [], full, False
        ids, targets, is_class = [], [], False
        for n in inside:
            targets.append(f"{self.corpus_rel(n)}:{n.line}")
            key = self.def_key(n)
            if key is None:
                continue
            if isinstance(self.defs.by_key[key][1], ast.ClassDef):
                is_class = True
                ids.extend(self.constructor_ids(key))
            else:
                ids.append(self.defs.by_key[key][0])
        ids = sorted(set(ids))
        return ("edge" if ids else "nosym"), ids, " ".join(sorted(set(targets))), is_class

    def calls(self, rel):
        tree = self.trees[rel]
        records = []

        def visit(node, caller, in_class):
            if isinstance(node, (ast.FunctionDef, ast.AsyncFunctionDef, ast.ClassDef)):
                # Decorators run in the enclosing scope; everything else (bases, default
                # values, body) belongs to the definition itself.
                for d in node.decorator_list:
                    visit(d, caller, in_class)
                if isinstance(node, ast.ClassDef):
                    own, inner_class = f"{rel}:{node.name}:class", True
                else:
                    own, inner_class = f"{rel}:{node.name}:{'method' if in_class else 'function'}", in_class
                for field, value in ast.iter_fields(node):
                    if field == "decorator_list":
                        continue
                    for child in value if isinstance(value, list) else [value]:
                        if isinstance(child, ast.AST):
                            visit(child, own, inner_class)
                return
            if isinstance(node, ast.Call) and caller is not None:
                status, ids, target, is_class = self.resolve(rel, node.func)
                name = node.func.id if isinstance(node.func, ast.Name) else (
                    node.func.attr if isinstance(node.func, ast.Attribute) else "")
                # Only a resolved call's form is reported, so only then is the receiver looked up.
                form = "new" if is_class else self.form(rel, node.func, status == "edge")
                records.append({"file": rel, "line": node.lineno, "caller": caller, "name": name, "form": form,
                                "status": status, "callees": ids, "target": target})
            for child in ast.iter_child_nodes(node):
                visit(child, caller, in_class)

        visit(tree, None, False)
        return records


def main():
    if len(sys.argv) != 3:
        sys.exit("usage: judge_py.py ROOT OUT.jsonl")
    judge = Judge(sys.argv[1])
    count = 0
    with open(sys.argv[2], "w", encoding="utf-8") as out:
        for rel in judge.files:
            if rel not in judge.trees:
                continue
            for record in judge.calls(rel):
                out.write(json.dumps(record) + "\n")
                count += 1
            # The scripts keep their inference caches; other files' stay useful for bases.
    print(f"judge_py: {len(judge.files)} files, {count} calls", file=sys.stderr)


if __name__ == "__main__":
    main()

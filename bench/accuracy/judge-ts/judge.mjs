// JS/TS judge: every call and `new` in a corpus, resolved by the TypeScript checker,
// one JSON record a line (the same records as judge_py.py writes).
//
// usage: node judge.mjs ROOT OUT.jsonl
//
// status: edge (callees name symbols), nosym (resolved into the corpus, to something that
// is no symbol), abstract (an interface, abstract or declared signature: which body runs
// is not known), external (outside the corpus), unresolved (nothing, or a variable).
import fs from "node:fs";
import path from "node:path";
import ts from "typescript";

const [rootArg, outFile] = process.argv.slice(2);
if (!rootArg || !outFile) {
  console.error("usage: node judge.mjs ROOT OUT.jsonl");
  process.exit(2);
}
const root = fs.realpathSync(rootArg);
const EXTENSIONS = [".ts", ".tsx", ".js", ".jsx"];

function listFiles(dir, out = []) {
  for (const entry of fs.readdirSync(dir, { withFileTypes: true }).sort((a, b) => (a.name < b.name ? -1 : 1))) {
    if (entry.name === "node_modules" || entry.name === ".git") continue;
    const full = path.join(dir, entry.name);
    if (entry.isDirectory()) listFiles(full, out);
    else if (EXTENSIONS.some((e) => entry.name.endsWith(e))) out.push(full);
  }
  return out;
}

const files = listFiles(root);
const program = ts.createProgram(files, {
  allowJs: true,
  checkJs: false,
  noEmit: true,
  jsx: ts.JsxEmit.Preserve,
  target: ts.ScriptTarget.ES2022,
  module: ts.ModuleKind.CommonJS,
  moduleResolution: ts.ModuleResolutionKind.Node10,
  esModuleInterop: true,
  strict: true,
  skipLibCheck: true,
  types: [], // whatever @types lie above the work folder must not change the answer
});
const checker = program.getTypeChecker();
const corpus = new Set(files.map((f) => path.resolve(f)));

const relOf = (sf) => path.relative(root, sf.fileName).split(path.sep).join("/");
const inCorpus = (sf) => corpus.has(path.resolve(sf.fileName));
const isDeclarationFile = (sf) => sf.isDeclarationFile;
const kindOfFunction = (name) => (/^\p{Lu}|^\p{Lt}/u.test(name) ? "component" : "function");

// The name a symbol has in Vantrel's ids, or null when the node declares no symbol.
function methodName(node) {
  if (node.kind === ts.SyntaxKind.Constructor) return "constructor";
  return node.name && ts.isIdentifier(node.name) ? node.name.text : null;
}
// Generator declarations are another node kind to Vantrel: no symbol, and see-through.
const isPlainFunction = (n) => ts.isFunctionDeclaration(n) && !n.asteriskToken;
const isMethodLike = (n) => ts.isMethodDeclaration(n) || ts.isConstructorDeclaration(n) || ts.isGetAccessor(n) || ts.isSetAccessor(n);
const isBoundArrow = (n) =>
  ts.isArrowFunction(n) && ts.isVariableDeclaration(n.parent) && n.parent.initializer === n && ts.isIdentifier(n.parent.name);

// The symbol id a declaration node stands for, or null when it is no symbol.
function symbolIdOf(node) {
  const rel = relOf(node.getSourceFile());
  if (isPlainFunction(node)) return node.name ? `${rel}:${node.name.text}:${kindOfFunction(node.name.text)}` : null;
  if (isMethodLike(node)) {
    const name = methodName(node);
    return name ? `${rel}:${name}:method` : null;
  }
  if (isBoundArrow(node)) return `${rel}:${node.parent.name.text}:${kindOfFunction(node.parent.name.text)}`;
  return null;
}

// The caller: the nearest enclosing symbol declaration. A function or method without a
// symbol name ends the climb with none; arrows not bound to a variable, function
// expressions and classes let it go on.
function callerOf(node) {
  for (let n = node.parent; n; n = n.parent) {
    if (isPlainFunction(n) || isMethodLike(n)) return symbolIdOf(n);
    if (isBoundArrow(n)) return symbolIdOf(n);
  }
  return null;
}

const hasBody = (d) => !!d.body;
const isFunctionLike = (d) => ts.isFunctionLike(d);

// A body-less overload stands for the implementation beside it.
function implementationOf(decl) {
  if (hasBody(decl)) return decl;
  const sym = decl.symbol ?? (decl.name && checker.getSymbolAtLocation(decl.name));
  return sym?.declarations?.find((d) => d.kind === decl.kind && hasBody(d)) ?? null;
}

// `new C()` runs C's own constructor, else the nearest base class's; no symbol otherwise.
function constructorOf(classDecl, seen = new Set()) {
  if (seen.has(classDecl)) return null;
  seen.add(classDecl);
  const own = classDecl.members.find((m) => ts.isConstructorDeclaration(m) && hasBody(m));
  if (own) return own;
  const ext = classDecl.heritageClauses?.find((h) => h.token === ts.SyntaxKind.ExtendsKeyword)?.types[0];
  if (!ext) return null;
  let sym = checker.getSymbolAtLocation(ext.expression);
  if (sym && sym.flags & ts.SymbolFlags.Alias) sym = checker.getAliasedSymbol(sym);
  const base = sym?.declarations?.find((d) => ts.isClassLike(d));
  return base ? constructorOf(base, seen) : null;
}

// Classify one declaration the checker gave: [status, node or null].
function judgeDeclaration(decl) {
  const sf = decl.getSourceFile();
  if (!inCorpus(sf)) return ["external", null];
  if (isDeclarationFile(sf)) return ["abstract", null];
  if (ts.isClassLike(decl)) {
    const ctor = constructorOf(decl);
    return ctor ? ["edge", ctor] : ["nosym", null];
  }
  if (ts.isVariableDeclaration(decl) && decl.initializer && ts.isArrowFunction(decl.initializer)) decl = decl.initializer;
  if (isFunctionLike(decl)) {
    if (isPlainFunction(decl) || isMethodLike(decl)) {
      const impl = implementationOf(decl);
      if (!impl) return ["abstract", null];
      decl = impl;
    } else if (!hasBody(decl)) {
      return ["abstract", null]; // interface members, function types, JSDoc signatures
    }
    return symbolIdOf(decl) ? ["edge", decl] : ["nosym", null];
  }
  return ["unresolved", null]; // a variable, parameter or property: its value is not known
}

const skipOuter = (e) => {
  while (ts.isParenthesizedExpression(e) || ts.isNonNullExpression(e) || ts.isAsExpression(e) ||
         ts.isTypeAssertionExpression(e) || ts.isSatisfiesExpression?.(e))
    e = e.expression;
  return e;
};

function resolvedSymbol(expr) {
  let sym = checker.getSymbolAtLocation(expr);
  if (sym && sym.flags & ts.SymbolFlags.Alias) sym = checker.getAliasedSymbol(sym);
  return sym;
}

function calleeExpression(node) {
  const e = skipOuter(node.expression);
  return ts.isPropertyAccessExpression(e) ? e.name : e;
}

function calledName(node) {
  const e = calleeExpression(node);
  if (e.kind === ts.SyntaxKind.SuperKeyword) return "super";
  if (ts.isIdentifier(e) || ts.isPrivateIdentifier(e)) return e.text;
  return "";
}

function formOf(node) {
  if (ts.isNewExpression(node)) return "new";
  const e = skipOuter(node.expression);
  if (e.kind === ts.SyntaxKind.SuperKeyword) return "super_call";
  if (ts.isIdentifier(e)) return "plain";
  if (!ts.isPropertyAccessExpression(e)) return "other";
  const recv = skipOuter(e.expression);
  if (recv.kind === ts.SyntaxKind.ThisKeyword) return "this";
  if (recv.kind === ts.SyntaxKind.SuperKeyword) return "super_member";
  if (ts.isIdentifier(recv)) {
    const sym = resolvedSymbol(recv);
    // A module or namespace, not a class or function that a module exports whole.
    const moduleLike = sym && sym.flags & (ts.SymbolFlags.ValueModule | ts.SymbolFlags.NamespaceModule) &&
      !(sym.flags & (ts.SymbolFlags.Class | ts.SymbolFlags.Function));
    return moduleLike ? "namespace" : "ident_recv";
  }
  if (ts.isPropertyAccessExpression(recv)) return "chain";
  if (ts.isCallExpression(recv) || ts.isNewExpression(recv)) return "call_recv";
  return "other";
}

function judgeCall(node) {
  let decls = [];
  const signature = checker.getResolvedSignature(node);
  if (signature?.declaration) decls = [signature.declaration];
  else {
    // No declared signature (an `any` callee, a class without constructors): the name's symbol.
    const sym = resolvedSymbol(calleeExpression(node));
    if (sym?.declarations?.length) decls = sym.declarations;
  }
  if (decls.length === 0) return { status: "unresolved", callees: [], target: "" };
  const verdicts = decls.map(judgeDeclaration);
  const edges = verdicts.filter(([s]) => s === "edge").map(([, d]) => d);
  const targets = decls.map((d) => {
    const sf = d.getSourceFile();
    const line = sf.getLineAndCharacterOfPosition(d.getStart(sf)).line + 1;
    return inCorpus(sf) ? `${relOf(sf)}:${line}` : path.basename(sf.fileName);
  });
  if (edges.length) return { status: "edge", callees: [...new Set(edges.map(symbolIdOf))].sort(), target: targets.join(" ") };
  for (const s of ["nosym", "abstract", "external", "unresolved"])
    if (verdicts.some(([v]) => v === s)) return { status: s, callees: [], target: targets.join(" ") };
}

const out = fs.openSync(outFile, "w");
let count = 0;
for (const sf of program.getSourceFiles()) {
  if (!inCorpus(sf)) continue;
  const rel = relOf(sf);
  const visit = (node) => {
    if ((ts.isCallExpression(node) && node.expression.kind !== ts.SyntaxKind.ImportKeyword) || ts.isNewExpression(node)) {
      const caller = callerOf(node);
      if (caller) {
        const { status, callees, target } = judgeCall(node);
        const line = sf.getLineAndCharacterOfPosition(node.getStart(sf)).line + 1;
        const record = { file: rel, line, caller, name: calledName(node), form: formOf(node), status, callees, target };
        fs.writeSync(out, JSON.stringify(record) + "\n");
        count++;
      }
    }
    ts.forEachChild(node, visit);
  };
  visit(sf);
}
fs.closeSync(out);
console.error(`judge-ts: ${files.length} files, ${count} calls`);

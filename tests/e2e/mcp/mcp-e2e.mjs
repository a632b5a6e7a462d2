// vantrel-cli mcp driven by the protocol's official client library, as an agent's host
// would drive it: over standard input and output, tools listed and called, structured
// results checked against the declared output schemas by the client itself. The project
// is a temporary copy of a fixture made into a git repository; HOME and the cache are
// temporary too.
//
//   node mcp-e2e.mjs VANTREL_CLI FIXTURE_DIR
import { execFileSync } from 'node:child_process';
import fs from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import { Client } from '@modelcontextprotocol/sdk/client/index.js';
import { StdioClientTransport } from '@modelcontextprotocol/sdk/client/stdio.js';

const [cli, fixture] = process.argv.slice(2);
if (!cli || !fixture) {
  console.error('usage: node mcp-e2e.mjs VANTREL_CLI FIXTURE_DIR');
  process.exit(2);
}

const COMPUTE_TOTAL = 'py/pkg/totals.py:compute_total:function';
const START = 'src/app/main.ts:start:function';
const CLAMP = 'src/lib/math.ts:clamp:function';
const PAD = 'src/lib/strings.ts:pad:function';
const BANNER = 'src/app/banner.ts:banner:function';

let failures = 0;
function check(condition, what, detail) {
  if (condition) return;
  failures += 1;
  console.error(`FAIL: ${what}${detail === undefined ? '' : `\n  got: ${JSON.stringify(detail)}`}`);
}
const same = (a, b) => JSON.stringify(a) === JSON.stringify(b);
const idsOf = (rows) => rows.map((row) => row.id);

const tmp = fs.mkdtempSync(path.join(os.tmpdir(), 'vantrel-mcp-e2e-'));
const project = path.join(tmp, 'project');
fs.cpSync(fixture, project, { recursive: true });
const env = {
  PATH: process.env.PATH ?? '/usr/bin:/bin',
  HOME: path.join(tmp, 'home'),
  XDG_CONFIG_HOME: path.join(tmp, 'home', '.config'),
  XDG_DATA_HOME: path.join(tmp, 'home', 'data'),
  GIT_CONFIG_NOSYSTEM: '1',
  GIT_CEILING_DIRECTORIES: tmp,
};
const git = (...args) => execFileSync('git', ['-C', project, ...args], { env, stdio: ['ignore', 'pipe', 'pipe'] });
git('init', '-q');
git('config', 'user.name', 'Test');
git('config', 'user.email', 'test@example.invalid');
git('config', 'core.autocrlf', 'false');
git('add', '-A');
git('commit', '-q', '-m', 'initial');

const transport = new StdioClientTransport({
  command: cli,
  args: ['mcp', project, '--cache-dir', path.join(tmp, 'cache')],
  env,
  stderr: 'pipe',
});
let serverLog = '';
transport.stderr?.on('data', (chunk) => {
  serverLog += chunk;
});
const client = new Client({ name: 'vantrel-e2e', version: '1.0.0' });

const watchdog = setTimeout(() => {
  console.error('FAIL: timed out\n--- server log ---\n' + serverLog);
  process.exit(1);
}, 180_000);

async function call(name, args) {
  return client.callTool({ name, arguments: args });
}

async function pollUntil(what, probe, seconds = 60) {
  const deadline = Date.now() + seconds * 1000;
  while (Date.now() < deadline) {
    if (await probe()) return true;
    await new Promise((resolve) => setTimeout(resolve, 250));
  }
  check(false, what);
  return false;
}

try {
  await client.connect(transport);
  check(client.getServerVersion()?.name === 'vantrel', 'server name', client.getServerVersion());
  check((client.getInstructions() ?? '').includes('blast_radius'), 'instructions name the tools');
  check(client.getServerCapabilities()?.tools !== undefined, 'tools capability');

  const { tools } = await client.listTools();
  check(
    same(tools.map((t) => t.name), ['blast_radius', 'callees', 'changes', 'diagnostics', 'find_symbols', 'symbol_source']),
    'the six tools',
    tools.map((t) => t.name),
  );

  // find_symbols: the exact name first.
  const found = await call('find_symbols', { query: 'compute_total' });
  check(found.structuredContent?.matches?.[0]?.id === COMPUTE_TOTAL, 'find_symbols exact match', found.structuredContent);
  check(found.structuredContent?.matches?.[0]?.match === 'exact', 'find_symbols match rank');

  // blast_radius: report and summarize call compute_total; format and View call them; start calls format.
  const radius = await call('blast_radius', { id: COMPUTE_TOTAL, depth: 3 });
  const levels = radius.structuredContent?.levels ?? [];
  check(
    same(levels.map((level) => idsOf(level.callers)), [
      ['py/pkg/report.py:report:function', 'src/app/View.tsx:summarize:function'],
      ['src/app/View.tsx:View:component', 'src/app/main.ts:format:function'],
      [START],
    ]),
    'blast_radius levels',
    levels,
  );
  check(radius.content?.[0]?.text?.includes('5 callers on 3 levels in 3 files'), 'blast_radius summary text');

  // callees of start.
  const callees = await call('callees', { id: START });
  check(
    same(idsOf(callees.structuredContent?.callees ?? []), [
      'src/app/main.ts:format:function',
      'src/lib/math.ts:run:function',
      'src/lib/math.ts:tidy:function',
    ]),
    'callees of start',
    callees.structuredContent,
  );

  // symbol_source of clamp.
  const source = await call('symbol_source', { id: CLAMP });
  check(source.structuredContent?.startLine === 11 && source.structuredContent?.endLine === 13, 'clamp lines');
  check(source.structuredContent?.code?.includes('return Math.max(0, value);'), 'clamp code', source.structuredContent);

  // diagnostics: the unresolved relative import and the external packages.
  const diagnostics = await call('diagnostics', {});
  const imports = (diagnostics.structuredContent?.sections ?? []).flatMap((s) => s.imports.map((i) => i.importPath));
  check(['./nowhere', 'react', 'requests'].every((p) => imports.includes(p)), 'diagnostics imports', imports);

  // An unknown id: an error result naming the nearest ids.
  const unknown = await call('callees', { id: 'src/lib/math.ts:ad:function' });
  check(unknown.isError === true, 'unknown id is an error result');
  check(unknown.structuredContent?.nearest?.[0] === 'src/lib/math.ts:add:function', 'nearest id', unknown.structuredContent);

  // Arguments out of range are a protocol error.
  try {
    await call('blast_radius', { id: COMPUTE_TOTAL, depth: 0 });
    check(false, 'depth 0 refused');
  } catch (error) {
    check(error.code === -32602, 'depth 0 gives -32602', error.message);
  }

  // changes: an edit inside clamp reaches tidy, which calls it, and start, which calls tidy.
  const math = path.join(project, 'src/lib/math.ts');
  fs.writeFileSync(math, fs.readFileSync(math, 'utf8').replace('Math.max(0, value)', 'Math.max(1, value)'));
  const changes = await call('changes', { base: 'HEAD', depth: 3 });
  check(!changes.isError, 'changes succeeds in a work tree', changes.content);
  check(
    same((changes.structuredContent?.changed ?? []).map((s) => [s.id, s.change]), [[CLAMP, 'modified']]),
    'changed symbols',
    changes.structuredContent,
  );
  check(
    same((changes.structuredContent?.reached ?? []).map((level) => idsOf(level.symbols)), [
      ['src/lib/math.ts:tidy:function'],
      [START],
    ]),
    'reached symbols',
    changes.structuredContent,
  );
  const markdown = changes.content?.[0]?.text ?? '';
  check(
    markdown.includes('**1 changed symbol** (1 modified), **2 reached symbols**') &&
      markdown.includes('| `tidy` function | `src/lib/math.ts` | 9 |'),
    'changes Markdown summary and table',
    markdown,
  );

  // A saved file that adds a call to pad reaches the answers.
  fs.writeFileSync(
    path.join(project, 'src/app/banner.ts'),
    "import { pad } from '../lib/strings';\n\nexport function banner() {\n  return pad('!');\n}\n",
  );
  await pollUntil('the new edge in callees', async () => {
    const result = await call('callees', { id: BANNER });
    return !result.isError && idsOf(result.structuredContent.callees).includes(PAD);
  });
  await pollUntil('the new caller in blast_radius', async () => {
    const result = await call('blast_radius', { id: PAD });
    return (result.structuredContent?.levels?.[0]?.callers ?? []).some((c) => c.id === BANNER);
  });
} catch (error) {
  check(false, `unexpected error: ${error?.stack ?? error}`);
} finally {
  await client.close().catch(() => {});
  clearTimeout(watchdog);
  fs.rmSync(tmp, { recursive: true, force: true });
}

if (failures > 0) {
  console.error(`${failures} check(s) failed\n--- server log ---\n${serverLog}`);
  process.exit(1);
}
console.log('mcp e2e: all checks passed');

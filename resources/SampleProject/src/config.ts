export interface Config {
  port: number;
  currency: string;
}

export function loadConfig(): Config {
  return { port: Number(readEnv('PORT', '8080')), currency: readEnv('CURRENCY', 'EUR') };
}

function readEnv(name: string, fallback: string): string {
  return process.env[name] ?? fallback;
}

import { startServer } from './server';
import { loadConfig } from './config';

export function main() {
  const config = loadConfig();
  startServer(config);
}

main();

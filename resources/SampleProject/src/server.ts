import { createRouter } from './router';
import { logInfo } from '@/util/log';
import type { Config } from './config';

export function startServer(config: Config) {
  const router = createRouter();
  listen(router, config.port);
}

function listen(router: unknown, port: number) {
  logInfo(`listening on ${port}`);
}

import { handleCheckout } from './checkout/checkout';
import { logInfo } from './util/log';

export const createRouter = () => {
  const routes = registerRoutes();
  logInfo(`${routes.length} routes`);
  return routes;
};

function registerRoutes() {
  return [{ path: '/checkout', handler: handleCheckout }].map((route) => withTiming(route));
}

function withTiming<T>(route: T): T {
  return route;
}

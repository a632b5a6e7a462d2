import { Cart } from './cart';
import { logError, logInfo } from '@/util/log';

export async function handleCheckout(cart: Cart) {
  try {
    const amount = cart.total();
    await chargeCard(amount);
    logInfo(`charged ${amount}`);
  } catch (error) {
    logError(String(error));
  }
}

declare function chargeCard(amount: number): Promise<void>;

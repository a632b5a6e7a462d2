export interface Item {
  sku: string;
  price: number;
}

export class Cart {
  private items: Item[] = [];

  addItem(item: Item) {
    validateItem(item);
    this.items.push(item);
  }

  total(): number {
    const net = this.items.reduce((sum, item) => sum + item.price, 0);
    return net + computeTax(net);
  }
}

export function computeTax(amount: number): number {
  return Math.round(amount * taxRate() * 100) / 100;
}

function taxRate() {
  return 0.2;
}

function validateItem(item: Item) {
  if (item.price < 0) throw new Error(`bad price for ${item.sku}`);
}

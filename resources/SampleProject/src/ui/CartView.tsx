import React from 'react';
import { computeTax } from '../checkout/cart';

export function CartView({ net }: { net: number }) {
  const total = useCartTotal(net);
  return <div className="cart">{formatPrice(total)}</div>;
}

const useCartTotal = (net: number) => net + computeTax(net);

function formatPrice(value: number) {
  return `€${value.toFixed(2)}`;
}

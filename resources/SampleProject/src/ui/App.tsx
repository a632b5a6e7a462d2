import React from 'react';
import { createRoot } from 'react-dom/client';
import { CartView } from './CartView';

export const App = () => <CartView net={42} />;

export function renderApp(element: HTMLElement) {
  createRoot(element).render(<App />);
}

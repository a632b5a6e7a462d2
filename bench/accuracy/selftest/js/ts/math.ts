export function square(x: number): number {
  return x * x;
}

export function twice(x: number): number;
export function twice(x: string): string;
export function twice(x: any): any {
  return x + x;
}

export const half = (x: number) => x / 2;

export const Third = (x: number) => x / 3;

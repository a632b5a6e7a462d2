export function log(message: string): void {
  console.log(message);
}

export function format(text: string): string {
  return text.trim();
}

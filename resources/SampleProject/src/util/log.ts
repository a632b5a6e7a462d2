export function logInfo(message: string) {
  write('info', message);
}

export function logError(message: string) {
  write('error', message);
}

function write(level: string, message: string) {
  console.log(`[${level}] ${message}`);
}

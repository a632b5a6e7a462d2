import { format, log } from "./util";

export interface Drawable {
  draw(): string;
}

export class Shape implements Drawable {
  constructor(public name: string) {
    log("shape " + name);
  }

  area(): number {
    return 0;
  }

  draw(): string {
    return this.name + " " + this.area();
  }

  describe(): string {
    return format(this.draw());
  }
}

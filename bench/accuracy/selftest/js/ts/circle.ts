import { square as sq } from "./math";
import { Shape } from "./shapes";

export class Circle extends Shape {
  constructor(private r: number) {
    super("circle");
  }

  area(): number {
    return 3 * sq(this.r);
  }

  describe(): string {
    return "circle: " + super.describe();
  }
}

// No constructor of its own: `new Ring()` runs Circle's.
export class Ring extends Circle {}

// No constructor anywhere: `new Dot()` runs no symbol.
export class Dot {}

import { Circle, Dot, Ring } from "./circle";
import * as m from "./math";
import { Drawable, Shape } from "./shapes";

export function run(items: Drawable[], callback: () => void): number {
  const c = new Circle(2);
  const r = new Ring(1);
  new Dot();
  c.describe();
  r.area();
  items[0].draw(); // an interface method: no body to name
  callback(); // a parameter: no one callee
  m.twice(2);
  const total = m.half(4) + m.Third(9);
  return total + helper(c);
}

function helper(s: Shape): number {
  return s.area();
}

const App = (): string => {
  const obj = {
    greet() {
      return helper(new Circle(1)).toString();
    },
  };
  return obj.greet();
};

class Widget {
  // A class field's arrow has no symbol around it: this call has no caller.
  handler = () => run([], () => {});

  render(): string {
    return App();
  }
}

export { Widget };

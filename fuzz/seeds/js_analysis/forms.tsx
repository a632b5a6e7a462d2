import { a, b as c } from "./util/math";
import D from "@/components/Button";
export const E = <T,>(x: T) => { return a(x); };
class F { #g() { c(); } static h = () => D(); }
function* i() { yield `${a(1)}`; }

"use strict";
const Base = require("./legacy");

class Child extends Base {
  constructor(options) {
    super(options);
  }

  step() {
    super.step();
    helper(this);
    helperTyped(this);
  }
}

// Untyped: `child` may be anything, so its call has no callee to name.
function helper(child) {
  child.start();
}

/** @param {Child} child */
function helperTyped(child) {
  child.start();
}

function Factory() {
  return new Child({});
}

module.exports = { Child, Factory };

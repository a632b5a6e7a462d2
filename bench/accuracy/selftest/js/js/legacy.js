"use strict";
const tools = require("./tools");

class Base {
  constructor(options) {
    this.options = options;
    this.init();
  }

  init() {}

  start() {
    this.step();
    return tools.pad(tools.trim(" x "));
  }

  step() {}
}

module.exports = Base;

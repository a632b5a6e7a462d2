function pad(text) {
  return " " + text;
}

const trim = (text) => text.trim();

exports.pad = pad;
exports.trim = trim;

// Shows the panel's screen in the page, again after each restart.
import RFB from "./core/rfb.js";

const screen = document.getElementById("screen");
const note = document.getElementById("note");

function connect() {
  const display = new RFB(screen, new URL("screen", location.href.replace(/^http/, "ws")).href);
  display.scaleViewport = true;
  display.background = "transparent";
  display.addEventListener("connect", () => { note.textContent = ""; });
  // A panel that restarts comes back by itself.
  display.addEventListener("disconnect", () => {
    note.textContent = "The panel is off or restarting …";
    setTimeout(connect, 1000);
  });
}
connect();

// Questions to the manager.
import {byId} from "./dom.js";

let loggingIn = null;

// Resolves once the manager has taken the token.
function logIn() {
  loggingIn ??= new Promise((done) => {
    const dialog = byId("login");
    byId("login-form").onsubmit = async (event) => {
      event.preventDefault();
      const headers = {Authorization: `Bearer ${byId("token").value}`};
      const response = await fetch("/api/session", {headers}).catch(() => null);
      byId("token").value = "";
      if (!response?.ok) {
        byId("login-fault").textContent =
          response ? "That is not the token." : "The manager does not answer.";
        return;
      }
      dialog.close();
      loggingIn = null;
      done();
    };
    // There is nothing behind it to go back to.
    dialog.oncancel = (event) => event.preventDefault();
    byId("login-fault").textContent = "";
    dialog.showModal();
  });
  return loggingIn;
}

// The answer to a question, after asking for the token when it is needed. Null when there is none,
// which is no fault: the agent may be gone. Throws when the manager does not answer.
export async function ask(path) {
  for (;;) {
    const response = await fetch(path);
    if (response.status === 401) {
      await logIn();
    } else if (response.status === 404) {
      return null;
    } else if (response.ok) {
      return response.json();
    } else {
      throw new Error(`${path}: ${response.status}`);
    }
  }
}

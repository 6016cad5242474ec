// Answers the page's calls: { id, name, parts } by { id, made } or { id, problem }.
import { Workbench } from "./workbench.mjs";

let workbench;
let newest = 0;

/** Lets messages in that have come meanwhile; true if there is one. */
function isStale(id) {
    return new Promise(done => {
        const channel = new MessageChannel();
        channel.port1.onmessage = () => done(newest !== id);
        channel.port2.postMessage(0);
    });
}

async function answer(id, name, parts) {
    if (name === "start") {
        workbench = await Workbench.start(...parts);
        return workbench.about();
    }
    if (name === "findings") return workbench.findings(...parts, () => isStale(id));
    return workbench[name](...parts);
}

let last = Promise.resolve();

self.onmessage = ({ data: { id, name, parts } }) => {
    newest = id;
    last = last.then(async () => {
        try {
            const made = await answer(id, name, parts);
            const buffers = made && made.rgba ? [made.rgba.buffer] : [];
            self.postMessage({ id, made }, buffers);
        } catch (error) {
            self.postMessage({ id, problem: String(error.message || error) });
        }
    });
};

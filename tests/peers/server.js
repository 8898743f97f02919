// SPDX-License-Identifier: MIT
//
// A server on Node's own HTTP library that counts which calls it carried out.
//
// server.js PORTS MILLISECONDS [KEY CERTIFICATE]: listens on so many free ports of 127.0.0.1, with TLS when a key is
// given, and ends a connection that was silent for so long.
'use strict';
const fs = require('fs');
const [ports, silence, key, certificate] = process.argv.slice(2);
const library = require(key ? 'https' : 'http');
const options = key ? {key: fs.readFileSync(key), cert: fs.readFileSync(certificate)} : {};
const executed = {};

function answer(request, response) {
  // Some versions wait a second longer than they are told.
  response.on('finish', () => request.socket.setTimeout(Number(silence)));
  const pieces = [];
  request.on('data', (piece) => pieces.push(piece));
  request.on('end', () => {
    const url = new URL(request.url, 'http://127.0.0.1');
    const call = url.searchParams.get('call');
    if (request.method !== 'GET') {
      // Counted under what the body says: one that came without it is another call.
      const name = JSON.parse(Buffer.concat(pieces).toString() || '{}').customName;
      const counted = name === call ? name : 'mangled';
      executed[counted] = (executed[counted] || 0) + 1;
    }
    response.setHeader('Content-Type', 'application/json');
    response.end(JSON.stringify({code: 0, data: url.pathname === '/executed' ? executed : {call}}));
  });
}

const listening = [];
for (let i = 0; i < Number(ports); ++i) {
  const server = library.createServer(options, answer);
  server.keepAliveTimeout = Number(silence);
  server.listen(0, '127.0.0.1', () => {
    listening.push(server.address().port);
    if (listening.length === Number(ports)) {
      console.log('ready ' + listening.join(' '));
    }
  });
}

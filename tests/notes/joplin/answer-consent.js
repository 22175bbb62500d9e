// Preloaded into Joplin's terminal application, which has no dialog for a request to be let in: SIGUSR2 presses
// "Grant authorisation" for the request that waits, SIGHUP presses "Reject".
const { createRequire } = require('module');

const answer = accept => () => {
	try {
		const ClipperServer = createRequire(process.argv[1])('@joplin/lib/ClipperServer').default;
		ClipperServer.instance().api.acceptAuthToken(accept);
	} catch (error) {
		console.error(`No request to answer: ${error.message}`);
	}
};
process.on('SIGUSR2', answer(true));
process.on('SIGHUP', answer(false));
